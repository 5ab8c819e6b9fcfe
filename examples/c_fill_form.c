// Fills a PDF form from an XFDF, FDF, JSON or CSV file, saves it under another name, and prints the values of the saved
// file. Uses the C interface:
//   c_fill_form FORM.pdf DATA FILLED.pdf

#include <stdio.h>
#include <stdlib.h>

#include "zforms/zforms.h"

static void print_message(void* user, const zforms_message* message) {
  static const char* const severities[] = {"note", "warning", "error"};
  (void)user;
  fprintf(stderr, "%s: %s\n", severities[message->severity], message->text);
}

static zforms_status fill(zforms_form* form, char** argv) {
  zforms_status status = zforms_open_file(form, argv[1], NULL, 0);
  if (status == ZFORMS_OK) status = zforms_fill_file(form, argv[2]);
  if (status == ZFORMS_OK) status = zforms_save_file(form, argv[3], ZFORMS_UPDATE);
  return status;
}

// Reads a text of a field: first its length, then the text. The caller frees it.
static char* text_of(zforms_form* form, size_t index, zforms_field_part part) {
  size_t length = 0;
  if (zforms_field_text(form, index, part, 0, NULL, 0, &length) != ZFORMS_OK) return NULL;
  char* const text = malloc(length + 1);
  if (text != NULL) zforms_field_text(form, index, part, 0, text, length + 1, NULL);
  return text;
}

static void print_values(zforms_form* form) {
  size_t count = 0;
  zforms_field_count(form, &count);
  for (size_t i = 0; i < count; i++) {
    char* const name = text_of(form, i, ZFORMS_FIELD_NAME);
    char* const value = text_of(form, i, ZFORMS_FIELD_VALUE);  // null when the field has no value
    if (name != NULL && value != NULL) printf("%s = %s\n", name, value);
    free(name);
    free(value);
  }
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: c_fill_form FORM.pdf DATA FILLED.pdf\n");
    return 2;
  }
  zforms_form* const form = zforms_form_new();
  zforms_on_message(form, print_message, NULL);
  zforms_status status = fill(form, argv);
  if (status == ZFORMS_OK) status = zforms_open_file(form, argv[3], NULL, 0);
  if (status == ZFORMS_OK) print_values(form);
  zforms_form_free(form);
  return status == ZFORMS_OK ? 0 : 1;
}
