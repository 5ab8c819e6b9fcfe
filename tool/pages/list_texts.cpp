#include "tool/pages/list_texts.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "zforms/platform/base/ascii.h"

namespace zforms::tool {
namespace {

constexpr ListTexts kTexts[] = {
    {"en", "Forms", "Open a form, fill it in and save it. What was saved stays on this machine.",
     "Open a form in a PDF reader that submits forms, fill it in and press its button to save.", "Find a form", "Open",
     "Look at", "New", "Saved", "Refused", "Opened here on", "Not saved, typed on", "Saved here on", "Refused here on",
     "Continue", "1 form", "{n} forms"},
    {"fr", "Formulaires",
     "Ouvrez un formulaire, remplissez-le et enregistrez-le. Ce qui est enregistré reste sur cette machine.",
     "Ouvrez un formulaire dans un lecteur PDF qui sait l’envoyer, remplissez-le et pressez son bouton pour "
     "l’enregistrer.",
     "Chercher un formulaire", "Ouvrir", "Consulter", "Nouveau", "Enregistré", "Refusé", "Ouvert ici le",
     "Saisie non enregistrée du", "Enregistré ici le", "Refusé ici le", "Continuer", "1 formulaire", "{n} formulaires"},
    {"de", "Formulare",
     "Öffnen Sie ein Formular, füllen Sie es aus und speichern Sie es. Gespeichertes bleibt auf diesem Rechner.",
     "Öffnen Sie ein Formular in einem PDF-Programm, das Formulare sendet, füllen Sie es aus und speichern Sie es mit "
     "seiner Schaltfläche.",
     "Formular suchen", "Öffnen", "Ansehen", "Neu", "Gespeichert", "Abgelehnt", "Hier geöffnet am",
     "Nicht gespeichert, ausgefüllt am", "Hier gespeichert am", "Hier abgelehnt am", "Weiter", "1 Formular",
     "{n} Formulare"},
    {"es", "Formularios", "Abra un formulario, rellénelo y guárdelo. Lo guardado queda en este equipo.",
     "Abra un formulario en un lector de PDF que envíe formularios, rellénelo y pulse su botón para guardarlo.",
     "Buscar un formulario", "Abrir", "Ver", "Nuevo", "Guardado", "Rechazado", "Abierto aquí el",
     "Sin guardar, escrito el", "Guardado aquí el", "Rechazado aquí el", "Continuar", "1 formulario",
     "{n} formularios"},
    {"it", "Moduli", "Apra un modulo, lo compili e lo salvi. Ciò che è salvato resta su questo computer.",
     "Apra un modulo in un lettore PDF che invia moduli, lo compili e prema il suo pulsante per salvarlo.",
     "Cerca un modulo", "Apri", "Consulta", "Nuovo", "Salvato", "Rifiutato", "Aperto qui il", "Non salvato, scritto il",
     "Salvato qui il", "Rifiutato qui il", "Continua", "1 modulo", "{n} moduli"},
    {"nl", "Formulieren", "Open een formulier, vul het in en sla het op. Wat is opgeslagen, blijft op deze computer.",
     "Open een formulier in een pdf-programma dat formulieren verzendt, vul het in en druk op de knop om het op te "
     "slaan.",
     "Een formulier zoeken", "Openen", "Bekijken", "Nieuw", "Opgeslagen", "Geweigerd", "Hier geopend op",
     "Niet opgeslagen, ingevuld op", "Hier opgeslagen op", "Hier geweigerd op", "Doorgaan", "1 formulier",
     "{n} formulieren"},
};

}  // namespace

const ListTexts& ListTextsFor(std::string_view accepted) {
  const ListTexts* best = kTexts;
  double best_weight = 0;
  while (!accepted.empty()) {
    const size_t end = std::min(accepted.find(','), accepted.size());
    std::string one(accepted.substr(0, end));
    accepted.remove_prefix(std::min(end + 1, accepted.size()));
    std::erase_if(one, [](char c) { return c == ' ' || c == '\t'; });
    double weight = 1;
    if (const size_t q = one.find(";q="); q != std::string::npos) {
      std::from_chars(one.data() + q + 3, one.data() + one.size(), weight);
    }
    const std::string tag = one.substr(0, one.find_first_of("-;"));
    const ListTexts* const found = std::find_if(std::begin(kTexts), std::end(kTexts), [&tag](const ListTexts& texts) {
      return SameIgnoringASCIICase(tag, texts.language);
    });
    if (found == std::end(kTexts) || weight <= best_weight) continue;
    best = found;
    best_weight = weight;
  }
  return *best;
}

}  // namespace zforms::tool
