// The texts of the page in French.

/** @type {typeof import("./texts_en.js").english} */
export const french = {
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
  print: "Imprimer",
  download: "Télécharger le PDF",
  drawing: "Préparation du PDF…",
  drawnUnsaved: "Le PDF contient votre saisie. Elle n’est pas encore enregistrée.",
  goTo: (n) => `Aller à la page ${n}`,
  tooLong: (most, left) => `${most} caractères au plus. Laissé de côté : « ${left} »`,
  script: (reason) => `Un script de ce formulaire ne fonctionne pas : ${reason}`,
};
