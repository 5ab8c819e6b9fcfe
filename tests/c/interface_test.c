// The C interface, as a host in C uses it: interface_test SAMPLES FOLDER. FOLDER exists; files are written into it.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zforms/zforms.h"

static int failures = 0;

#define CHECK(condition, what)                                                    \
  do {                                                                            \
    if (!(condition)) {                                                           \
      failures++;                                                                 \
      fprintf(stderr, "%s:%d: %s: %s\n", __FILE__, __LINE__, #condition, (what)); \
    }                                                                             \
  } while (0)

static char sample[1024];  // the path of the sample form
static char folder[1024];  // for files
static char messages[4096];

static void keep_message(void* user, const zforms_message* said) {
  const size_t used = strlen(messages);
  ++*(int*)user;
  snprintf(messages + used, sizeof messages - used, "%d%d %s|", (int)said->severity, (int)said->about, said->text);
}

static zforms_form* open_sample(void) {
  zforms_form* const form = zforms_form_new();
  CHECK(zforms_open_file(form, sample, NULL, 0) == ZFORMS_OK, zforms_last_error(form));
  return form;
}

// The value of a field, or the error. Checks that the call fails when the buffer has no room for the zero byte.
static const char* value_of(zforms_form* form, const char* name) {
  static char text[256];
  size_t length = 0;
  if (zforms_get_value(form, name, NULL, 0, &length) != ZFORMS_OK || length >= sizeof text)
    return zforms_last_error(form);
  text[0] = 'x';
  if (length > 0) {
    CHECK(zforms_get_value(form, name, text, length, NULL) == ZFORMS_ERROR_LENGTH && text[0] == 0, name);
  }
  CHECK(zforms_get_value(form, name, text, length + 1, NULL) == ZFORMS_OK && strlen(text) == length, name);
  return text;
}

// The export of the form in this format, or the saved form when `format` is negative. The caller frees the bytes.
static char* bytes_of(zforms_form* form, int format, size_t* size) {
  zforms_status status = format < 0 ? zforms_save_bytes(form, ZFORMS_UPDATE, NULL, 0, size)
                                    : zforms_export(form, (zforms_format)format, 1, NULL, 0, size);
  char* const bytes = malloc(*size + 1);
  CHECK(status == ZFORMS_OK && bytes != NULL, zforms_last_error(form));
  status = format < 0 ? zforms_save_bytes(form, ZFORMS_UPDATE, bytes, *size, size)
                      : zforms_export(form, (zforms_format)format, 1, bytes, *size + 1, size);
  CHECK(status == ZFORMS_OK, zforms_last_error(form));
  return bytes;
}

static void test_failures_to_open(void) {
  static const struct {
    const char* path;
    unsigned flags;
    zforms_status status;
    const char* error;
  } cases[] = {
      {"missing.pdf", 0, ZFORMS_ERROR_FORM, "No such file"},
      {NULL, 0, ZFORMS_ERROR_ARGUMENT, "argument"},
      {sample, 64, ZFORMS_ERROR_ARGUMENT, "argument"},
      {sample, ZFORMS_RECOVER | ZFORMS_FORCE, ZFORMS_OK, ""},
  };
  zforms_form* const form = zforms_form_new();
  int count = 0;
  zforms_on_message(form, keep_message, &count);
  CHECK(zforms_save_file(form, folder, ZFORMS_UPDATE) == ZFORMS_ERROR_FORM, "nothing is open");
  CHECK(zforms_batch_new(form) == NULL && *zforms_last_error(form) != 0, "nothing is open");
  CHECK(zforms_open_bytes(form, "no PDF", 6, NULL, 0) == ZFORMS_ERROR_FORM, "no PDF");
  CHECK(count == 2 && strncmp(messages, "20 ", 3) == 0, messages);
  for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
    CHECK(zforms_open_file(form, cases[i].path, NULL, cases[i].flags) == cases[i].status, cases[i].error);
    CHECK(strstr(zforms_last_error(form), cases[i].error) != NULL, zforms_last_error(form));
  }
  zforms_form_free(form);
}

static void test_fields(void) {
  zforms_form* const form = open_sample();
  size_t count = 0, index = 0, length = 0;
  char text[256];
  zforms_field field;
  zforms_widget widget;
  field.size = sizeof field;
  CHECK(zforms_field_count(form, &count) == ZFORMS_OK && count == 32, "32 fields");
  for (size_t i = 0; i < count; i++) {
    CHECK(zforms_field_text(form, i, ZFORMS_FIELD_NAME, 0, text, sizeof text, &length) == ZFORMS_OK, "a name");
    CHECK(zforms_find_field(form, text, &index) == ZFORMS_OK && index == i, text);
    CHECK(zforms_get_field(form, i, &field) == ZFORMS_OK && field.page == 1, text);
    for (size_t n = 0; n < field.option_count; n++) {
      CHECK(zforms_field_text(form, i, ZFORMS_FIELD_OPTION_TEXT, n, text, sizeof text, NULL) == ZFORMS_OK, text);
    }
    CHECK(zforms_field_text(form, i, ZFORMS_FIELD_STATE, field.state_count, text, 9, NULL) == ZFORMS_ERROR_NOT_FOUND,
          "one state too many");
    CHECK(zforms_get_widget(form, i, 0, &widget) == ZFORMS_OK && widget.right > widget.left, "a place");
  }
  zforms_find_field(form, "adherent.pays", &index);
  zforms_get_field(form, index, &field);
  CHECK(field.kind == ZFORMS_COMBO_BOX && field.option_count == 5 && field.is_exported == 1, "a combo box");
  zforms_field_text(form, index, ZFORMS_FIELD_OPTION_VALUE, 1, text, sizeof text, NULL);
  CHECK(strcmp(text, "BE") == 0, text);
  CHECK(zforms_get_field(form, count, &field) == ZFORMS_ERROR_NOT_FOUND, "past the last one");
  field.size = 1;
  CHECK(zforms_get_field(form, 0, &field) == ZFORMS_ERROR_ARGUMENT, "another size");
  zforms_form_free(form);
}

static void test_values(void) {
  static const struct {
    const char *name, *value;
    zforms_status status;
    const char* after;  // the value, or a part of the reason
  } cases[] = {
      {"adherent.nom", "Lebœuf", ZFORMS_OK, "Lebœuf"},
      {"adherent.pays", "Belgique", ZFORMS_OK, "BE"},
      {"adherent.pays", "ZZ", ZFORMS_ERROR_DATA, "is not a choice of the field"},
      {"accords.statuts", "yes", ZFORMS_OK, "Oui"},
      {"formule", "Étudiant", ZFORMS_OK, "Étudiant"},
      {"adherent.viles", "Sète", ZFORMS_ERROR_NOT_FOUND, "did you mean adherent.ville?"},
      {"adherent.nom", "", ZFORMS_OK, ""},
      {"adherent.nom", "Łoś", ZFORMS_OK, "Łoś"},
      {"adherent.nom", NULL, ZFORMS_ERROR_ARGUMENT, "argument"},
  };
  static const char* const workshops[] = {"SEMIS", "FÊTE"};
  zforms_form* const form = open_sample();
  size_t before = 0, size = 0, index = 0;
  for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
    value_of(form, cases[i].name);  // reads all fields, so that the next call has to update them
    CHECK(zforms_set_value(form, cases[i].name, cases[i].value) == cases[i].status, cases[i].name);
    const char* const after = cases[i].status == ZFORMS_OK ? value_of(form, cases[i].name) : zforms_last_error(form);
    CHECK(cases[i].status == ZFORMS_OK ? strcmp(after, cases[i].after) == 0 : strstr(after, cases[i].after) != NULL,
          after);
  }
  CHECK(zforms_set_values(form, "activites.ateliers", workshops, 2) == ZFORMS_OK, zforms_last_error(form));
  zforms_form* const saved = zforms_form_new();
  zforms_form* const filled = open_sample();
  char* const original = bytes_of(filled, -1, &before);
  char* const bytes = bytes_of(form, -1, &size);
  CHECK(size > before && memcmp(bytes, original, before) == 0, "an update leaves the bytes that were there");
  CHECK(zforms_open_bytes(saved, bytes, size, NULL, 0) == ZFORMS_OK, zforms_last_error(saved));
  zforms_field field;
  field.size = sizeof field;
  zforms_find_field(saved, "activites.ateliers", &index);
  CHECK(zforms_get_field(saved, index, &field) == ZFORMS_OK && field.value_count == 2, "two values");
  // Each export fills another copy of the form, which then exports the same. CSV is left out here, because it has
  // several values in one cell.
  for (int format = ZFORMS_XFDF; format <= ZFORMS_JSON_LINES; format++) {
    size_t exported = 0, again = 0;
    char* const data = bytes_of(saved, format, &exported);
    CHECK(zforms_open_file(filled, sample, NULL, 0) == ZFORMS_OK, "the sample");
    CHECK(zforms_fill_bytes(filled, data, exported, NULL) == ZFORMS_OK, zforms_last_error(filled));
    char* const export_again = bytes_of(filled, ZFORMS_JSON, &again);
    char* const expected = bytes_of(saved, ZFORMS_JSON, &exported);
    CHECK(again == exported && memcmp(export_again, expected, again) == 0, export_again);
    free(data), free(export_again), free(expected);
  }
  CHECK(zforms_fill_bytes(filled, "{", 1, NULL) == ZFORMS_ERROR_DATA, "no JSON");
  free(bytes), free(original);
  zforms_form_free(filled), zforms_form_free(saved), zforms_form_free(form);
}

static void test_utf16(void) {
  static const uint16_t name[] = {'N', 'u', 'm', 0xE9, 'r', 'o', ' ', 'd', '\'',
                                  'a', 'd', 'h', 0xE9, 'r', 'e', 'n', 't', 0};
  static const uint16_t value[] = {0x141, 'o', 0x15B, ' ', 0xD83D, 0xDE00, 0};
  uint16_t text[32];
  size_t length = 0;
  char utf8[32];
  zforms_form* const form = open_sample();
  CHECK(zforms_get_value_utf16(form, name, text, 32, &length) == ZFORMS_OK && length == 9, zforms_last_error(form));
  CHECK(zforms_get_value_utf16(form, value, text, 32, &length) == ZFORMS_ERROR_NOT_FOUND, "no such field");
  CHECK(zforms_last_error_utf16(form, NULL, 0, &length) == ZFORMS_OK && length > 10, "a reason");
  CHECK(zforms_utf8_from_utf16(value, utf8, sizeof utf8, &length) == ZFORMS_OK && strcmp(utf8, "Łoś 😀") == 0, utf8);
  CHECK(zforms_utf16_from_utf8(utf8, text, 6, &length) == ZFORMS_ERROR_LENGTH && length == 6 && text[0] == 0, "short");
  CHECK(zforms_utf16_from_utf8(utf8, text, 7, NULL) == ZFORMS_OK && memcmp(text, value, sizeof value) == 0,
        "as before");
  zforms_form_free(form);
}

static char rows[1024];

static int keep_row(void* user, const zforms_row* row) {
  char line[256];
  snprintf(line, sizeof line, "%d %s%s|", (int)row->number, row->path, row->error);
  strcat(rows, line);
  return row->number == *(const uint64_t*)user;
}

static void test_batch(void) {
  static const char* const table = "id,adherent.nom,adherent.pays\n1,Łoś,BE\n../2,Zoé,XX\n../3,Zoé,FR\n1,Noé,CH\n";
  static const struct {
    uint64_t stop_at;
    unsigned flags;
    zforms_status status;
    const char* rows;
  } cases[] = {
      {1, ZFORMS_OVERWRITE, ZFORMS_ERROR_STOPPED, "1 1-Łoś.pdf|"},
      {0, ZFORMS_OVERWRITE, ZFORMS_ERROR_DATA,
       "1 1-Łoś.pdf|2 line 3: field \"adherent.pays\": \"XX\" is not a choice of the field|3 _._3-Zoé.pdf|4 "
       "1-Noé.pdf|"},
      {0, 0, ZFORMS_ERROR_DATA, "1 the file \"1-Łoś.pdf\" already exists|"},
  };
  int count = 0;
  zforms_form* const form = open_sample();
  zforms_on_message(form, keep_message, &count);
  for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
    zforms_batch* const batch = zforms_batch_new(form);
    rows[0] = 0;
    CHECK(zforms_batch_open_bytes(batch, table, strlen(table)) == ZFORMS_OK, zforms_last_error(batch));
    CHECK(zforms_batch_run(batch, folder, "{id}-{adherent.nom}.pdf", cases[i].flags, keep_row,
                           (void*)&cases[i].stop_at) == cases[i].status,
          zforms_last_error(batch));
    // Skips what the expected rows omit: the folder before a file name, and the choices after a reason.
    const char* expected = cases[i].rows;
    for (const char* at = rows; *expected != 0 && *at != 0;) {
      if (strncmp(at, folder, strlen(folder)) == 0)
        at += strlen(folder) + 1;
      else if (*expected == '|' && *at != '|')
        at++;
      else if (*expected++ != *at++)
        break;
    }
    CHECK(*expected == 0, rows);
    zforms_batch_free(batch);
  }
  CHECK(strstr(messages, "01 column \"id\" fills no field and is ignored|") != NULL, messages);
  zforms_form_free(form);
}

// Rows that the host fills value by value. Each begins from the original state; the batch outlives the form.
static void test_rows_of_the_host(void) {
  static const struct {
    const char *name, *value;
    zforms_status status;
  } cases[] = {
      {"adherent.nom", "Łoś", ZFORMS_OK},
      {"adherent.pays", "ZZ", ZFORMS_ERROR_DATA},
      {"adherent.ville", "Béziers", ZFORMS_OK},
  };
  zforms_form* form = open_sample();
  zforms_set_value(form, "adherent.email", "a@example.org");
  zforms_batch* const batch = zforms_batch_new(form);
  zforms_form_free(form);
  form = zforms_form_new();
  CHECK(zforms_batch_bytes(batch, NULL, 0, NULL) == ZFORMS_ERROR_ARGUMENT, "no row is filled");
  for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
    size_t size = 0;
    CHECK(zforms_batch_set(batch, cases[i].name, cases[i].value) == ZFORMS_OK, cases[i].name);
    CHECK(zforms_batch_fill(batch) == cases[i].status, zforms_last_error(batch));
    if (cases[i].status != ZFORMS_OK) continue;
    CHECK(zforms_batch_bytes(batch, NULL, 0, &size) == ZFORMS_OK, cases[i].name);
    char* const bytes = malloc(size);
    CHECK(zforms_batch_bytes(batch, bytes, size, NULL) == ZFORMS_OK, cases[i].name);
    CHECK(zforms_open_bytes(form, bytes, size, NULL, 0) == ZFORMS_OK, zforms_last_error(form));
    CHECK(strcmp(value_of(form, cases[i].name), cases[i].value) == 0, cases[i].name);
    CHECK(strcmp(value_of(form, "adherent.email"), "a@example.org") == 0, "set before the batch");
    CHECK(i == 0 || *value_of(form, "adherent.nom") == 0, "a value of the row before");
    CHECK(zforms_batch_write(batch, folder, "{missing}.pdf", 0) == ZFORMS_ERROR_DATA, "no such column");
    free(bytes);
  }
  zforms_batch_free(batch);
  zforms_form_free(form);
}

// A table that cannot be read further: the quote of its second row has no end.
static void test_damaged_table(void) {
  static const char start[] = "adherent.nom\nA\n\"";
  const size_t size = 17U << 20;
  char* const table = malloc(size);
  memset(table, 'B', size);
  memcpy(table, start, sizeof start - 1);
  zforms_form* const form = open_sample();
  zforms_batch* const batch = zforms_batch_new(form);
  CHECK(zforms_batch_open_bytes(batch, table, size) == ZFORMS_OK, zforms_last_error(batch));
  const zforms_status statuses[] = {ZFORMS_OK, ZFORMS_ERROR_DATA, ZFORMS_END, ZFORMS_END};
  uint64_t number = 0;
  for (size_t i = 0; i < sizeof statuses / sizeof *statuses; i++) {
    CHECK(zforms_batch_next(batch, &number, NULL) == statuses[i] && number == 1, zforms_last_error(batch));
  }
  zforms_batch_free(batch);
  zforms_form_free(form);
  free(table);
}

static void test_missing_handles(void) {
  size_t n = 0;
  CHECK(zforms_version_number() > 0 && strchr(zforms_version(), '.') != NULL, zforms_version());
  CHECK(zforms_open_file(NULL, sample, NULL, 0) == ZFORMS_ERROR_ARGUMENT, "open");
  CHECK(zforms_fill_bytes(NULL, "{}", 2, NULL) == ZFORMS_ERROR_ARGUMENT, "fill");
  CHECK(zforms_field_count(NULL, &n) == ZFORMS_ERROR_ARGUMENT, "count");
  CHECK(zforms_save_bytes(NULL, ZFORMS_UPDATE, NULL, 0, &n) == ZFORMS_ERROR_ARGUMENT, "save");
  CHECK(zforms_batch_new(NULL) == NULL && zforms_batch_run(NULL, "", "", 0, NULL, NULL) == ZFORMS_ERROR_ARGUMENT,
        "batch");
  CHECK(zforms_set_value_utf16(NULL, NULL, NULL) == ZFORMS_ERROR_ARGUMENT, "set");
  CHECK(zforms_server_new(NULL, "App", 0) == NULL && zforms_server_start(NULL) == ZFORMS_ERROR_ARGUMENT, "server");
  CHECK(*zforms_last_error(NULL) != 0, "a reason");
  zforms_form_free(NULL), zforms_batch_free(NULL), zforms_server_free(NULL);
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  snprintf(sample, sizeof sample, "%s/membership_form.pdf", argv[1]);
  snprintf(folder, sizeof folder, "%s", argv[2]);
  test_missing_handles();
  test_failures_to_open();
  test_fields();
  test_values();
  test_utf16();
  test_batch();
  test_rows_of_the_host();
  test_damaged_table();
  fprintf(stderr, "%d checks failed\n", failures);
  return failures == 0 ? 0 : 1;
}
