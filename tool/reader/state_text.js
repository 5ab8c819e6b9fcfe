// The names of button states.

/** Decodes a name: as UTF-8 if its bytes are valid UTF-8, as the server does (ISO 32000-1 7.3.5). */
export function stateText(/** @type {string} */ name) {
  if (!/[\x80-\xFF]/.test(name) || /[^\x00-\xFF]/.test(name)) return name;
  try {
    return new TextDecoder("utf-8", { fatal: true }).decode(Uint8Array.from(name, (c) => c.charCodeAt(0)));
  } catch {
    return name;
  }
}
