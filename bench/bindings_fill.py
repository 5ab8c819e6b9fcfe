"""Fills a form for each row of a table in Python, with zforms or pypdf: see bindings_bench.cpp.

    bindings_fill.py zforms|pypdf FORM.pdf ROWS.csv FOLDER fill|draw|batch
"""

import csv
import io
import json
import pathlib
import sys
import time


def with_zforms(form, rows, table, folder, mode):
    import zforms

    if mode == "batch":
        return lambda: [row for row in zforms.batch(zforms.open(form), table, folder + "/{row}.pdf") if row.error]

    def fill():
        for number, row in enumerate(rows, 1):
            with zforms.open(form, draw=mode == "draw") as opened:
                for name, value in row.items():
                    opened[name] = value
                opened.save(f"{folder}/{number}.pdf")
    return fill


def with_pypdf(form, rows, _table, folder, _mode):
    """Fills with pypdf, which finds fields by the last part of their names; it draws nothing here."""
    import pypdf

    def fill():
        for number, row in enumerate(rows, 1):
            writer = pypdf.PdfWriter()
            writer.clone_document_from_reader(pypdf.PdfReader(io.BytesIO(form)))
            values = {name.rpartition(".")[2]: value for name, value in row.items()}
            for page in writer.pages:
                writer.update_page_form_field_values(page, values)
            with open(f"{folder}/{number}.pdf", "wb") as file:
                writer.write(file)
    return fill


def main(library, form, table, folder, mode):
    with open(table, encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file))
    fill = {"zforms": with_zforms, "pypdf": with_pypdf}[library](pathlib.Path(form).read_bytes(), rows, table, folder, mode)
    start = time.perf_counter(), time.process_time()
    faults = fill()
    print(json.dumps({"clock": time.perf_counter() - start[0], "processor": time.process_time() - start[1]}))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
