// The texts of the page in German.

/** @type {typeof import("./texts_en.js").english} */
export const german = {
  back: "Formulare",
  untitled: "Formular",
  page: (n, of) => `Seite ${n} von ${of}`,
  zoom: "Zoom",
  smaller: "Kleiner",
  larger: "Größer",
  fit: "Ganze Breite",
  modes: { modify: "Wird ausgefüllt", consult: "Gespeichert, schreibgeschützt", readonly: "Schreibgeschützt" },
  save: "Speichern",
  modify: "Ändern",
  opening: "Das Formular wird geöffnet…",
  saving: "Wird gespeichert…",
  asking: "Der Server wird gefragt…",
  opened: (title) => `${title} ist geöffnet.`,
  saved: (time) => `Um ${time} gespeichert. Das Formular ist jetzt schreibgeschützt; „Ändern“ öffnet es wieder.`,
  savedUnshown: "Gespeichert, aber das Formular kann gerade nicht wieder angezeigt werden.",
  unsent: " Ein Teil Ihrer Eingaben wird nicht gespeichert; er bleibt nur in diesem Browser.",
  editable: "Das Formular kann wieder bearbeitet werden.",
  unsaved: "Noch nicht gespeichert",
  draft: (time) => `Sie haben dieses Formular am ${time} ausgefüllt und nicht gespeichert.`,
  restore: "Wiederherstellen",
  discard: "Verwerfen",
  restored: "Ihre Eingaben sind wieder da. Sie sind noch nicht gespeichert.",
  discarded: "Ihre Eingaben sind verworfen.",
  required: (n) =>
    n === 1 ? "Ein Pflichtfeld ist leer. Es wurde nichts gesendet." : `${n} Pflichtfelder sind leer. Es wurde nichts gesendet.`,
  stale: "Nicht gespeichert: Inzwischen wurde eine neuere Fassung dieses Formulars gespeichert, vielleicht in " +
    "einem anderen Tab. Ihre Eingaben sind noch da.",
  showSaved: "Gespeichertes zeigen",
  again: "Noch einmal versuchen",
  unreachable: "Der Server ist nicht erreichbar. Ihre Eingaben sind noch da; versuchen Sie es noch einmal, wenn " +
    "er läuft.",
  reasons: {
    403: "Der Server weist diese Seite ab. Öffnen Sie sie über die Liste der Formulare.",
    404: "Der Server hat dieses Formular nicht mehr.",
    409: "Der Server kennt die Sitzung dieses Formulars nicht oder arbeitet jetzt in einem anderen Ordner oder " +
    "Jahr. Es wurde nichts gespeichert; Ihre Eingaben sind noch da.",
    413: "Das Formular enthält zu viele Daten für den Server. Es wurde nichts gespeichert; Ihre Eingaben sind noch da.",
    503: "Der Server konnte es gerade nicht speichern. Ihre Eingaben sind noch da; versuchen Sie es noch einmal.",
  },
  refused: (status) =>
    `Der Server lehnt ab (Status ${status}). Es wurde nichts gespeichert; Ihre Eingaben sind noch da.`,
  unknown: "Der Server kennt dieses Formular nicht mehr.",
  openAnew: "Ein neues öffnen",
  unreadable: "Das Formular kann nicht gelesen werden.",
  noKeeping: "Dieser Browser bewahrt hier keine Entwürfe auf: Was nicht gespeichert ist, geht mit der Seite verloren.",
  print: "Drucken",
  download: "PDF herunterladen",
  drawing: "Das PDF wird vorbereitet…",
  drawnUnsaved: "Das PDF enthält Ihre Eingaben. Sie sind noch nicht gespeichert.",
  goTo: (n) => `Zu Seite ${n}`,
  tooLong: (most, left) => `Höchstens ${most} Zeichen. Weggelassen: „${left}“`,
  script: (reason) => `Ein Skript dieses Formulars läuft nicht: ${reason}`,
};
