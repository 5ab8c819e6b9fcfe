#!/usr/bin/env python3
"""Makes the sample forms and the XFDF data that fill them: make_samples.py [FOLDER].

The files beside this script are its output, byte for byte. Nothing in them depends on the clock or the machine.
"""

import pathlib
import sys
from xml.sax.saxutils import escape

sys.dont_write_bytecode = True
from form_writer import COMB, MULTI_SELECT, MULTILINE, READ_ONLY, REQUIRED, Form, text_width

GREY, INK, WHITE = (0.42, 0.45, 0.5), (0.13, 0.15, 0.2), (1, 1, 1)


class Sheet:
    """A form in the style of one organisation: an accent colour, a tint for fields, labelled boxes."""

    def __init__(self, title, code, accent, tint):
        self.form = Form(title, code)
        self.form.accent = self.accent = accent
        self.tint = tint
        self.page()

    def page(self):
        self.canvas = self.form.page()

    def label(self, x, y, text, size=7.5, colour=GREY, **style):
        self.canvas.text(x, y, text, size, colour=colour, **style)

    def section(self, y, height, number, title):
        """Draws a panel of the page's width with a title band; returns the top of its contents."""
        self.canvas.rect(36, y, 523, height, fill=WHITE, stroke=self.accent, line=0.8)
        self.canvas.rect(36, y, 523, 17, fill=self.accent)
        self.canvas.text(44, y + 12, f"{number}   {title}", 9.5, bold=True, colour=WHITE)
        return y + 17

    def box(self, box):
        self.canvas.rect(*box, fill=self.tint, stroke=self.accent, line=0.4)

    def text(self, name, x, y, w, label="", h=17, cells=0, flags=0, **field):
        """`y` is the top of the box; the label stands above it. `cells` makes a comb of that many places."""
        if label:
            self.label(x, y - 3, label)
        self.box((x, y, w, h))
        for i in range(1, cells):
            self.canvas.line(x + i * w / cells, y + h, x + i * w / cells, y + h * 0.45, self.accent, 0.4)
        if cells:
            field.update(max_length=cells)
        self.form.text_field(name, (x, y, w, h), flags=flags | (COMB if cells else 0), tip=field.pop("tip", label),
                             **field)

    def choice(self, name, x, y, w, label, options, h=17, **field):
        self.label(x, y - 3, label)
        self.box((x, y, w, h))
        self.form.choice(name, (x, y, w, h), options, tip=label, **field)

    def check(self, name, x, y, caption, size=11, text_size=8.5, **field):
        self.box((x, y, size, size))
        self.form.check_box(name, (x, y, size, size), tip=caption, **field)
        self.label(x + size + 5, y + size - 2.5, caption, text_size, INK)

    def radio(self, name, x, y, caption, state, size=11, text_size=8.5, tip=""):
        self.canvas.circle(x + size / 2, y + size / 2, size / 2, fill=self.tint, stroke=self.accent, line=0.5)
        self.form.radio_button(name, (x, y, size, size), state, tip=tip)
        self.label(x + size + 5, y + size - 2.5, caption, text_size, INK)


def xfdf(pdf_name, identity, values):
    """XFDF with nested fields (ISO 19444-1), from full names to values."""
    tree = {}
    for name, value in values.items():
        level = tree
        *heads, last = name.split(".")
        for head in heads:
            level = level.setdefault(head, {})
        level[last] = value

    def fields(level, indent):
        for name, value in level.items():
            yield f'{indent}<field name="{escape(name, {chr(34): "&quot;"})}">'
            if isinstance(value, dict):
                yield from fields(value, indent + "  ")
            else:
                yield f"{indent}  <value>{escape(value)}</value>"
            yield f"{indent}</field>"

    lines = ['<?xml version="1.0" encoding="UTF-8"?>',
             '<xfdf xmlns="http://ns.adobe.com/xfdf/" xml:space="preserve">', f'  <f href="{pdf_name}"/>',
             f'  <ids original="{identity}" modified="{identity}"/>', "  <fields>", *fields(tree, "    "),
             "  </fields>", "</xfdf>"]
    return ("\n".join(lines) + "\n").encode()


def membership_header(sheet):
    canvas = sheet.canvas
    canvas.rect(36, 34, 523, 58, fill=sheet.accent)
    for angle, (dx, dy) in enumerate([(0, -9), (9, 0), (0, 9), (-9, 0)]):
        canvas.circle(68 + dx, 63 + dy, 9, fill=(0.55 + 0.07 * angle, 0.8, 0.5))
    canvas.circle(68, 63, 6, fill=(0.98, 0.85, 0.35))
    canvas.text(98, 61, "Bulletin d’adhésion", 22, bold=True, colour=WHITE)
    canvas.text(98, 79, "Les Jardins du Canal – association régie par la loi de 1901", 9.5, colour=(0.85, 0.93, 0.87))
    canvas.text(442, 53, "N° d’adhérent (réservé)", 7.5, colour=(0.85, 0.93, 0.87))
    sheet.text("Numéro d'adhérent", 442, 57, 105, value="JC-004217", flags=READ_ONLY, tip="Numéro d’adhérent", size=11)


def membership_identity(sheet):
    y = sheet.section(104, 196, "1", "Identité")
    sheet.choice("adherent.civilite", 46, y + 17, 84, "Civilité",
                 [("", "–"), ("MME", "Madame"), ("M", "Monsieur"), ("NB", "Non précisée")])
    sheet.text("adherent.nom", 140, y + 17, 200, "Nom *", flags=REQUIRED)
    sheet.text("adherent.prenom", 350, y + 17, 199, "Prénom *", flags=REQUIRED)
    sheet.text("adherent.prénom d'usage", 46, y + 52, 160, "Prénom d’usage")
    sheet.text("adherent.naissance", 216, y + 52, 124, "Date de naissance (JJMMAAAA)", cells=8)
    sheet.text("adherent.telephone", 350, y + 52, 199, "Téléphone", max_length=20)
    sheet.text("adherent.adresse", 46, y + 87, 294, "Adresse (numéro, voie, complément)", h=52, flags=MULTILINE)
    sheet.text("adherent.code_postal", 350, y + 87, 80, "Code postal", cells=5)
    sheet.choice("adherent.pays", 440, y + 87, 109, "Pays", value="FR", options=[
        ("FR", "France"), ("BE", "Belgique"), ("CH", "Suisse"), ("LU", "Luxembourg"), ("CI", "Côte d’Ivoire")])
    sheet.text("adherent.ville", 350, y + 122, 199, "Ville")
    sheet.text("adherent.email", 46, y + 157, 294, "Adresse électronique", max_length=80)
    sheet.check("adherent.premiere", 352, y + 160, "Première adhésion")


def membership_choices(sheet):
    y = sheet.section(312, 110, "2", "Formule d’adhésion (année civile)")
    for i, (state, caption, price) in enumerate([
            ("Individuelle", "Individuelle", "24,00 €"), ("Famille", "Famille (même foyer)", "38,00 €"),
            ("Étudiant", "Étudiant ou demandeur d’emploi", "12,00 €"), ("Bienfaiteur", "Bienfaiteur", "80,00 €")]):
        sheet.radio("formule", 46, y + 9 + 20 * i, caption, state, tip="Formule d’adhésion")
        sheet.label(290, y + 17.5 + 20 * i, price, 8.5, INK, align="right")
    sheet.text("paiement.don", 320, y + 20, 105, "Don libre (€)", quadding=2, max_length=10)
    sheet.text("paiement.total", 444, y + 20, 105, "Total à régler (€)", quadding=2, max_length=10)
    sheet.label(320, y + 60, "Un reçu fiscal est envoyé pour tout don (art. 200 du CGI).", 8)
    sheet.label(320, y + 72, "La cotisation reste acquise à l’association.", 8)

    y = sheet.section(434, 104, "3", "Activités souhaitées")
    sheet.choice("activites.ateliers", 46, y + 17, 200, "Ateliers (plusieurs choix possibles)", h=60, size=9, options=[
        ("SEMIS", "Semis et bouturage"), ("COMPOST", "Compostage"), ("RUCHER", "Rucher école"),
        ("TAILLE", "Taille des arbres fruitiers"), ("FÊTE", "Fête de l’été")], flags=MULTI_SELECT)
    sheet.label(266, y + 14, "Disponibilités")
    for i, (day, caption) in enumerate([("mercredi", "Mercredi après-midi"), ("samedi", "Samedi matin"),
                                        ("dimanche", "Dimanche")]):
        sheet.check(f"activites.jours.{day}", 266, y + 19 + 20 * i, caption, inherited=True)
    sheet.text("activites.remarques", 390, y + 17, 159, "Remarques", h=60, flags=MULTILINE, size=9)


def membership_end(sheet):
    y = sheet.section(550, 92, "4", "Règlement")
    for i, (state, caption) in enumerate([("Prelevement", "Prélèvement"), ("Virement", "Virement"),
                                          ("Cheque", "Chèque"), ("Especes", "Espèces")]):
        sheet.radio("paiement.mode", 46 + 126 * i, y + 9, caption, state, tip="Mode de règlement")
    sheet.text("paiement.iban", 46, y + 43, 378, "IBAN", cells=27)
    sheet.text("paiement.bic", 434, y + 43, 115, "BIC", max_length=11)

    y = sheet.section(654, 104, "5", "Accords et signature")
    sheet.check("accords.statuts", 46, y + 9, "J’ai lu les statuts et le règlement intérieur", inherited=True)
    sheet.check("accords.lettre", 46, y + 29, "J’accepte de recevoir la lettre d’information", inherited=True)
    sheet.check("accords.image", 46, y + 49, "J’autorise l’usage de mon image", inherited=True)
    sheet.text("signature.lieu", 320, y + 17, 125, "Fait à")
    sheet.text("signature.date", 455, y + 17, 94, "Le", max_length=10)
    sheet.label(320, y + 44, "Signature")
    sheet.canvas.rect(320, y + 47, 229, 34, stroke=sheet.accent, line=0.4)
    sheet.form.submit_button("boutons.enregistrer", (349, 768, 100, 22), "Enregistrer", "save.cgi")
    sheet.form.submit_button("boutons.modifier", (459, 768, 100, 22), "Modifier", "modify.cgi")
    sheet.label(36, 776, "* champs obligatoires. Les données servent à la seule gestion des adhésions ;", 7)
    sheet.label(36, 785, "vous disposez d’un droit d’accès et de rectification.", 7)
    sheet.form.session_field()


def membership_form():
    sheet = Sheet("Bulletin d’adhésion", "ADHESION", (0.13, 0.42, 0.33), (0.94, 0.98, 0.95))
    membership_header(sheet)
    membership_identity(sheet)
    membership_choices(sheet)
    membership_end(sheet)
    return sheet.form


MEMBERSHIP = {
    "Numéro d'adhérent": "JC-004218", "adherent.civilite": "MME", "adherent.nom": "SPÉCIMEN-LEBŒUF",
    "adherent.prenom": "Maëlle Zoé", "adherent.prénom d'usage": "Maë", "adherent.naissance": "14071989",
    "adherent.telephone": "+33 4 67 00 00 00", "adherent.adresse": "Résidence « Le Chêne »\n12 bis, allée des Hêtres\n"
    "Bâtiment C (1er étage)", "adherent.code_postal": "34500", "adherent.pays": "BE", "adherent.ville": "Béziers",
    "adherent.email": "maelle@exemple.fr", "adherent.premiere": "Oui", "formule": "Étudiant", "paiement.don": "15,50",
    "paiement.total": "27,50 €", "activites.ateliers": "FÊTE", "activites.jours.mercredi": "Off",
    "activites.jours.samedi": "Oui", "activites.jours.dimanche": "Oui",
    "activites.remarques": "Allergie aux piqûres d’abeille ;\nprévoir < 2 h & à l’ombre.", "paiement.mode": "Virement",
    "paiement.iban": "FR7630006000011234567890189", "paiement.bic": "AGRIFRPP", "accords.statuts": "Oui",
    "accords.lettre": "Oui", "accords.image": "Off", "signature.lieu": "Béziers", "signature.date": "03/01/2025",
    "ZOR.SessionID": '<Params><Param name="Software.Shortname">DEMO</Param>'
    '<Param name="Transaction.Count">1</Param></Params>',
}

OPERATIONS = ["Ventes de biens, taux normal", "Ventes de biens, taux réduit", "Prestations de services",
              "Locations meublées", "Locations de locaux nus (option)", "Livraisons à soi-même",
              "Acquisitions dans l’Union européenne", "Importations", "Cessions d’immobilisations",
              "Régularisations", "Opérations réalisées outre-mer", "Autres opérations imposables"]
DEDUCTIONS = ["Biens constituant des immobilisations", "Autres biens et services", "Report de la période précédente",
              "Omissions ou compléments", "Frais généraux", "Énergie et carburants", "Honoraires", "Autres déductions"]
QUESTIONS = ["L’entreprise a-t-elle changé d’adresse au cours de l’exercice ?",
             "Des locaux ont-ils été créés, cédés ou détruits ?", "Une exonération temporaire est-elle demandée ?",
             "L’activité est-elle exercée à titre saisonnier ?", "Une cessation d’activité est-elle prévue ?",
             "Des opérations sont-elles réalisées hors de France ?", "La comptabilité est-elle tenue sous forme "
             "dématérialisée ?", "Le déclarant est-il assisté d’un expert-comptable ?"]


def tax_header(sheet, page):
    canvas = sheet.canvas
    canvas.rect(36, 30, 150, 46, stroke=sheet.accent)
    canvas.text(44, 45, "DIRECTION DES RECETTES", 9, bold=True, colour=sheet.accent)
    canvas.text(44, 57, "Service des entreprises", 8, colour=GREY)
    canvas.text(44, 68, "À déposer avant le 3 mai", 8, colour=GREY)
    canvas.text(320, 47, "DÉCLARATION ANNUELLE", 15, bold=True, colour=sheet.accent, align="centre")
    canvas.text(320, 63, "Taxe locale sur les activités", 10.5, colour=INK, align="centre")
    canvas.rect(454, 30, 105, 46, fill=sheet.accent)
    canvas.text(506, 49, "N° 2042-TLA", 12, bold=True, colour=WHITE, align="centre")
    canvas.text(506, 65, f"page {page} / 2", 8.5, colour=WHITE, align="centre")


def tax_identity(sheet):
    y = sheet.section(86, 142, "0", "Identification du déclarant")
    sheet.text("declarant.siret", 46, y + 17, 224, "SIRET", cells=14, flags=REQUIRED)
    sheet.text("declarant.naf", 282, y + 17, 80, "Code NAF", cells=5)
    sheet.text("declarant.exercice", 374, y + 17, 64, "Exercice", cells=4)
    sheet.text("declarant.reference", 450, y + 17, 99, "Référence", value="TLA-77-000318", flags=READ_ONLY)
    sheet.text("declarant.denomination", 46, y + 52, 224, "Dénomination")
    sheet.text("declarant.adresse", 282, y + 52, 267, "Adresse de l’établissement", h=44, flags=MULTILINE)
    sheet.text("declarant.periode.debut", 46, y + 87, 106, "Période du", cells=8)
    sheet.text("declarant.periode.fin", 164, y + 87, 106, "au", cells=8)
    sheet.label(282, y + 116, "Régime", 8.5, INK)
    for i, state in enumerate(["Réel normal", "Réel simplifié", "Micro"]):
        sheet.radio("declarant.régime", 322 + 80 * i, y + 107, state, state, tip="Régime d’imposition")


def tax_table(sheet, top, letter, title, rows, columns, stem, below=0):
    """A table of numeric fields; `columns` are (name, heading, left, width). `below` is room left under the rows."""
    y = sheet.section(top, 37 + 18 * len(rows) + below, letter, title)
    for _, heading, x, w in columns:
        sheet.label(x + w, y + 12, heading, 7.5, align="right")
    for i, row in enumerate(rows):
        line = y + 17 + 18 * i
        if i % 2:
            sheet.canvas.rect(37, line - 2, 521, 18, fill=(0.97, 0.97, 0.98))
        code = f"{letter}{i + 1:02}"
        sheet.canvas.text(46, line + 10, code, 8, bold=True, colour=sheet.accent)
        sheet.label(74, line + 10, row, 8.5, INK)
        for name, heading, x, w in columns:
            sheet.text(f"{stem}.ligne{i + 1:02}.{name}", x, line, w, h=14, tip=f"{code} – {heading}", size=9,
                       quadding=2, max_length=14)


def tax_building(sheet, index, x, y):
    stem = f"immeubles.n{index}"
    sheet.canvas.rect(x, y, 250, 122, stroke=sheet.accent, line=0.4)
    sheet.canvas.text(x + 6, y + 12, f"Immeuble {index}", 8.5, bold=True, colour=sheet.accent)
    sheet.check(f"{stem}.nouveau", x + 150, y + 4, "Première déclaration", size=10, text_size=8)
    sheet.text(f"{stem}.adresse", x + 6, y + 29, 172, "Adresse", h=15, size=9)
    sheet.text(f"{stem}.surface", x + 184, y + 29, 60, "Surface (m²)", h=15, size=9, quadding=2, max_length=8)
    for i, (name, label) in enumerate([("loyers", "Loyers bruts"), ("charges", "Charges"), ("interets", "Intérêts"),
                                       ("resultat", "Résultat")]):
        sheet.text(f"{stem}.{name}", x + 6 + 61 * i, y + 62, 55, label, h=15, size=9, quadding=2, max_length=12)
    for i, (state, caption) in enumerate([("Loue", "Loué"), ("Vacant", "Vacant"), ("Propre", "Usage propre")]):
        sheet.radio(f"{stem}.occupation", x + 6 + 72 * i, y + 92, caption, state, size=10, text_size=8,
                    tip=f"Occupation de l’immeuble {index}")


def tax_questions(sheet, top):
    y = sheet.section(top, 38 + 20 * len(QUESTIONS), "D", "Renseignements complémentaires")
    sheet.label(471, y + 11, "Oui", 8, align="centre")
    sheet.label(521, y + 11, "Non", 8, align="centre")
    for i, question in enumerate(QUESTIONS):
        line = y + 17 + 20 * i
        sheet.label(46, line + 9, f"D{i + 1:02}", 8, sheet.accent, bold=True)
        sheet.label(74, line + 9, question, 8.5, INK)
        end = 78 + text_width(question, 8.5)
        sheet.canvas.line(end, line + 8, 452, line + 8, (0.8, 0.83, 0.88), 0.4)
        for x, state in ((466, "Oui"), (516, "Non")):
            sheet.radio(f"questions.d{i + 1:02}", x, line, "", state, size=10, tip=question)


def tax_end(sheet, top):
    y = sheet.section(top, 138, "E", "Récapitulation, paiement et signature")
    for i, (name, label) in enumerate([("brute", "Taxe brute"), ("deductible", "Taxe déductible"),
                                       ("net", "Net à payer"), ("credit", "Crédit à reporter")]):
        sheet.text(f"totaux.{name}", 46 + 128 * i, y + 18, 119, label, quadding=2, max_length=14)
    sheet.choice("paiement.moyen", 46, y + 57, 119, "Moyen de paiement", [
        ("TLR", "Télérèglement"), ("PRE", "Prélèvement à l’échéance"), ("VIR", "Virement"), ("CHQ", "Chèque")])
    sheet.text("paiement.iban", 174, y + 57, 375, "IBAN", cells=27)
    sheet.text("signature.lieu", 46, y + 96, 90, "Fait à", h=15)
    sheet.text("signature.date", 145, y + 96, 66, "Le", h=15, max_length=10)
    sheet.check("signature.certifie", 226, y + 98, "Je certifie l’exactitude de la déclaration")
    sheet.form.submit_button("boutons.enregistrer", (426, y + 92, 58, 20), "Envoyer", "save.cgi")
    sheet.form.submit_button("boutons.modifier", (491, y + 92, 58, 20), "Modifier", "modify.cgi")
    sheet.form.session_field()


def tax_return():
    sheet = Sheet("Déclaration annuelle – Taxe locale sur les activités", "TLA2042", (0.13, 0.29, 0.55),
                  (0.93, 0.96, 1))
    tax_header(sheet, 1)
    tax_identity(sheet)
    tax_table(sheet, 238, "A", "Opérations imposables", OPERATIONS,
              [("base", "Base hors taxe (€)", 280, 95), ("taux", "Taux (%)", 385, 54),
               ("taxe", "Taxe due (€)", 449, 100)], "cadreA")
    tax_table(sheet, 502, "B", "Taxe déductible", DEDUCTIONS,
              [("exercice", "Exercice (€)", 340, 100), ("anterieur", "Antérieur (€)", 449, 100)], "cadreB", 92)
    sheet.text("cadreB.observations", 46, 701, 503, "Observations (joindre un état détaillé au besoin)", h=66,
               flags=MULTILINE, size=9)
    sheet.page()
    tax_header(sheet, 2)
    sheet.section(86, 284, "C", "Immeubles affectés à l’activité")
    for i in range(4):
        tax_building(sheet, i + 1, 43 + 258 * (i % 2), 111 + 130 * (i // 2))
    tax_questions(sheet, 384)
    tax_end(sheet, 596)
    sheet.label(297, 752, "Toute somme non réglée à l’échéance est majorée de 10 %. Les montants sont arrondis à "
                "l’euro le plus proche.", 7.5, align="centre")
    return sheet.form


def amount(value):
    return f"{value:,}".replace(",", " ")


def tax_values():
    values = {
        "declarant.siret": "12345678900017", "declarant.naf": "0113Z", "declarant.exercice": "2024",
        "declarant.denomination": "Société d’exemple « Été & Fils »", "declarant.adresse": "Zone d’activités de "
        "l’Étang\n4, rue du Général-Moulin\n34500 Béziers", "declarant.periode.debut": "01012024",
        "declarant.periode.fin": "31122024", "declarant.régime": "Réel simplifié",
        "cadreB.observations": "Montants en €, arrondis.\nÉtat détaillé joint (2 pages) – voir l’annexe n° 1.",
        "paiement.moyen": "PRE",
        "paiement.iban": "FR7630006000011234567890189", "signature.lieu": "Béziers", "signature.date": "02/05/2025",
        "signature.certifie": "Oui", "ZOR.SessionID": '<Params><Param name="Transaction.ID">42</Param></Params>',
    }
    gross = deductible = 0
    for i in range(len(OPERATIONS)):
        base, rate = 12500 + 3107 * i, (20, 10, 5.5)[i % 3]
        values[f"cadreA.ligne{i + 1:02}.base"] = amount(base)
        values[f"cadreA.ligne{i + 1:02}.taux"] = f"{rate:.1f}".replace(".", ",")
        values[f"cadreA.ligne{i + 1:02}.taxe"] = amount(round(base * rate / 100))
        gross += round(base * rate / 100)
    for i in range(len(DEDUCTIONS)):
        values[f"cadreB.ligne{i + 1:02}.exercice"] = amount(410 + 97 * i)
        values[f"cadreB.ligne{i + 1:02}.anterieur"] = amount(120 + 31 * i)
        deductible += 530 + 128 * i
    values.update({"totaux.brute": amount(gross), "totaux.deductible": amount(deductible),
                   "totaux.net": amount(gross - deductible) + " €"})
    for i, occupation in enumerate(["Loue", "Vacant", "Propre"], 1):
        rents, charges, interest = 9600 + 480 * i, 2100 + 75 * i, 840 - 60 * i
        values.update({f"immeubles.n{i}.{k}": v for k, v in {
            "adresse": f"{3 * i}, quai de l’Écluse, Sète", "surface": f"{62 + 17 * i},5", "loyers": amount(rents),
            "charges": amount(charges), "interets": amount(interest), "resultat": amount(rents - charges - interest),
            "occupation": occupation, "nouveau": "Oui" if i == 2 else "Off"}.items()})
    for i in range(len(QUESTIONS)):
        values[f"questions.d{i + 1:02}"] = "Oui" if i in (1, 6, 7) else "Non"
    return values


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent)
    for stem, form, values in (("membership_form", membership_form(), MEMBERSHIP),
                               ("tax_return", tax_return(), tax_values())):
        pdf, identity = form.file()
        (folder / f"{stem}.pdf").write_bytes(pdf)
        (folder / f"{stem}.xfdf").write_bytes(xfdf(f"{stem}.pdf", identity, values))


if __name__ == "__main__":
    main()
