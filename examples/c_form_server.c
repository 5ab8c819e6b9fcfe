// A form server with the C interface: opens one form, prints each submission, and stops when its input ends:
//   c_form_server FOLDER CODE OPENED.xfdf
// FOLDER contains the form CODE.pdf. Writes the file OPENED.xfdf; a PDF reader that opens it shows the form from this
// server.

#include <stdio.h>
#include <stdlib.h>

#include "zforms/zforms.h"

typedef zforms_status (*text_reader)(const zforms_submission* submission, size_t n, char* buffer, size_t size,
                                     size_t* length);

// Reads a text of a submission: first its length, then the text. The caller frees it.
static char* text_of(text_reader read, const zforms_submission* submission, size_t n) {
  size_t length = 0;
  if (read(submission, n, NULL, 0, &length) != ZFORMS_OK) return NULL;
  char* const text = malloc(length + 1);
  if (text != NULL) read(submission, n, text, length + 1, NULL);
  return text;
}

// Receives each submission. Store the data here: the result 1 makes the server tell the PDF reader that they are saved.
static int take(void* user, const zforms_submission* submission) {
  size_t count = 0;
  (void)user;
  zforms_submission_count(submission, &count);
  printf("saved\n");
  for (size_t i = 0; i < count; i++) {
    char* const name = text_of(zforms_submission_name, submission, i);
    char* const value = text_of(zforms_submission_value, submission, i);
    if (name != NULL && value != NULL) printf("  %s = %s\n", name, value);
    free(name);
    free(value);
  }
  fflush(stdout);
  return 1;
}

static void print_message(void* user, const zforms_message* message) {
  (void)user;
  printf("%s\n", message->text);
  fflush(stdout);
}

// Opens the form, and writes the XFDF document that shows it in a PDF reader.
static zforms_status open_form(zforms_server* server, const char* code, const char* path) {
  size_t size = 0;
  zforms_status status = zforms_server_open(server, code, NULL, 0, ZFORMS_OPENED_XFDF, NULL, 0, &size);
  char* const text = status == ZFORMS_OK ? malloc(size) : NULL;
  if (text == NULL) return status;
  status = zforms_server_open(server, code, NULL, 0, ZFORMS_OPENED_XFDF, text, size, &size);
  FILE* const file = fopen(path, "wb");
  if (file != NULL) {
    fwrite(text, 1, size, file);
    fclose(file);
    printf("open %s\n", path);
    fflush(stdout);
  }
  free(text);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: c_form_server FOLDER CODE OPENED.xfdf\n");
    return 2;
  }
  zforms_server* const server = zforms_server_new(argv[1], "Example", 0);
  zforms_server_on_submission(server, take, NULL);
  zforms_server_on_message(server, print_message, NULL);
  zforms_status status = zforms_server_start(server);
  if (status == ZFORMS_OK) status = open_form(server, argv[2], argv[3]);
  if (status != ZFORMS_OK) fprintf(stderr, "%s\n", zforms_last_error(server));
  while (status == ZFORMS_OK && getchar() != EOF) continue;
  zforms_server_free(server);
  return status == ZFORMS_OK ? 0 : 1;
}
