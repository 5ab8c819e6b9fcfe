// The texts of the page, in all supported languages.

const english = {
  back: "Forms",
  untitled: "Form",
  page: (/** @type {number} */ n, /** @type {number} */ of) => `Page ${n} of ${of}`,
  zoom: "Zoom",
  smaller: "Smaller",
  larger: "Larger",
  fit: "Fit width",
  modes: { modify: "Editing", consult: "Saved, read-only", readonly: "Read-only" },
  save: "Save",
  modify: "Modify",
  opening: "Opening the form…",
  saving: "Saving…",
  asking: "Asking the server…",
  opened: (/** @type {string} */ title) => `${title} is open.`,
  saved: (/** @type {string} */ time) => `Saved at ${time}. The form is read-only now; “Modify” opens it again.`,
  savedUnshown: "Saved, but the form cannot be shown again just now.",
  unsent: " Some of what you typed is not part of what is saved; it is kept in this browser alone.",
  editable: "The form can be edited again.",
  unsaved: "Not saved yet",
  draft: (/** @type {string} */ time) => `You typed into this form on ${time} and did not save it.`,
  restore: "Put it back",
  discard: "Throw it away",
  restored: "What you had typed is back. It is not saved yet.",
  discarded: "What you had typed is gone.",
  required: (/** @type {number} */ n) =>
    n === 1 ? "A field that is required is empty. Nothing was sent." :
    `${n} fields that are required are empty. Nothing was sent.`,
  stale: "Not saved: a newer copy of this form was saved meanwhile, perhaps in another tab. " +
    "What you typed is still here.",
  showSaved: "Show what was saved",
  again: "Try again",
  unreachable: "The server cannot be reached. What you typed is still here; try again once it runs.",
  reasons: {
    403: "The server refuses this page. Open it through the list of forms.",
    404: "The server has no such form any more.",
    409: "The server does not know this form’s session, or works in another folder or year now. Nothing was saved; " +
      "what you typed is still here.",
    413: "The form holds too much for the server. Nothing was saved; what you typed is still here.",
    503: "The server could not store it just now. What you typed is still here; try again.",
  },
  refused: (/** @type {number} */ status) =>
    `The server refuses it (status ${status}). Nothing was saved; what you typed is still here.`,
  unknown: "The server does not know this form any more.",
  openAnew: "Open a new one",
  unreadable: "The form cannot be read.",
  noKeeping: "This browser keeps no drafts here: what is not saved goes when the page does.",
};

/** @type {typeof english} */
const french = {
  back: "Formulaires",
  untitled: "Formulaire",
  page: (n, of) => `Page ${n} sur ${of}`,
  zoom: "Zoom",
  smaller: "Réduire",
  larger: "Agrandir",
  fit: "Pleine largeur",
  modes: { modify: "En cours de saisie", consult: "Enregistré, en lecture seule", readonly: "En lecture seule" },
  save: "Enregistrer",
  modify: "Modifier",
  opening: "Ouverture du formulaire…",
  saving: "Enregistrement…",
  asking: "Demande au serveur…",
  opened: (title) => `${title} est ouvert.`,
  saved: (time) => `Enregistré à ${time}. Le formulaire est maintenant en lecture seule ; « Modifier » le rouvre.`,
  savedUnshown: "Enregistré, mais le formulaire ne peut pas être affiché de nouveau pour l’instant.",
  unsent: " Une partie de votre saisie ne s’enregistre pas ; elle n’est gardée que dans ce navigateur.",
  editable: "Le formulaire est de nouveau modifiable.",
  unsaved: "Pas encore enregistré",
  draft: (time) => `Vous avez rempli ce formulaire le ${time} sans l’enregistrer.`,
  restore: "Reprendre la saisie",
  discard: "L’abandonner",
  restored: "Votre saisie est de retour. Elle n’est pas encore enregistrée.",
  discarded: "Votre saisie est abandonnée.",
  required: (n) =>
    n === 1 ? "Un champ obligatoire est vide. Rien n’a été envoyé." :
    `${n} champs obligatoires sont vides. Rien n’a été envoyé.`,
  stale: "Pas enregistré : une copie plus récente de ce formulaire a été enregistrée entre-temps, peut-être dans un " +
    "autre onglet. Votre saisie est toujours là.",
  showSaved: "Voir ce qui est enregistré",
  again: "Réessayer",
  unreachable: "Le serveur ne répond pas. Votre saisie est toujours là ; réessayez quand il tournera.",
  reasons: {
    403: "Le serveur refuse cette page. Ouvrez-la depuis la liste des formulaires.",
    404: "Le serveur n’a plus ce formulaire.",
    409: "Le serveur ne connaît pas la session de ce formulaire, ou travaille maintenant dans un autre dossier ou " +
      "exercice. Rien n’est enregistré ; votre saisie est toujours là.",
    413: "Le formulaire contient trop de données pour le serveur. Rien n’est enregistré ; votre saisie est toujours là.",
    503: "Le serveur n’a pas pu l’enregistrer à l’instant. Votre saisie est toujours là ; réessayez.",
  },
  refused: (status) =>
    `Le serveur refuse (état ${status}). Rien n’est enregistré ; votre saisie est toujours là.`,
  unknown: "Le serveur ne connaît plus ce formulaire.",
  openAnew: "En ouvrir un nouveau",
  unreadable: "Le formulaire est illisible.",
  noKeeping: "Ce navigateur ne garde pas de brouillon ici : ce qui n’est pas enregistré part avec la page.",
};

/** The first supported language of the list, else English. */
export function languageOf(/** @type {readonly string[]} */ languages) {
  const known = languages.map((one) => one.slice(0, 2).toLowerCase()).find((one) => one === "fr" || one === "en");
  return known ?? "en";
}

export const language = languageOf(navigator.languages);
export const texts = language === "fr" ? french : english;

/** The language with the region of the browser's user, for the format of dates and times. */
export function localeOf(/** @type {string} */ spoken, /** @type {readonly string[]} */ languages) {
  const { region } = new Intl.Locale(languages[0] ?? spoken).maximize();
  return region ? `${spoken}-${region}` : spoken;
}

/** The time of day, optionally with the day, in the user's format. */
export function timeText(/** @type {Date} */ time, withDay = false) {
  const style = /** @type {const} */ ({ timeStyle: "short", ...(withDay && { dateStyle: "medium" }) });
  return new Intl.DateTimeFormat(localeOf(language, navigator.languages), style).format(time);
}
