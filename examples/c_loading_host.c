// A host for Windows that loads the library while it runs. It sets one field of a form, and saves the form under
// another name. Such a host needs no import library, and can run without the library.
//   c_loading_host ZFORMS.dll FORM.pdf FIELD VALUE FILLED.pdf

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

// This header must be included after <windows.h>.
#include <shellapi.h>

#include "zforms/zforms.h"

// The functions of the library that this host calls.
struct library {
  const char* (*version)(void);
  zforms_form* (*form_new)(void);
  void (*form_free)(zforms_form* form);
  zforms_status (*open_file)(zforms_form* form, const char* path, const char* password, unsigned flags);
  zforms_status (*set_value)(zforms_form* form, const char* name, const char* value);
  zforms_status (*save_file)(zforms_form* form, const char* path, zforms_save_mode mode);
  const char* (*last_error)(const void* handle);
};

// Stores the address of a function in `to`, a pointer to a function.
static int find(HMODULE module, const char* name, void* to) {
  const FARPROC found = GetProcAddress(module, name);
  if (found == NULL) fprintf(stderr, "the library has no %s\n", name);
  memcpy(to, &found, sizeof found);
  return found != NULL;
}

static int load(const wchar_t* path, struct library* library) {
  const HMODULE module = LoadLibraryW(path);
  if (module == NULL) {
    fprintf(stderr, "the library cannot be loaded: error %lu\n", GetLastError());
    return 0;
  }
  return find(module, "zforms_version", &library->version) && find(module, "zforms_form_new", &library->form_new) &&
         find(module, "zforms_form_free", &library->form_free) &&
         find(module, "zforms_open_file", &library->open_file) &&
         find(module, "zforms_set_value", &library->set_value) &&
         find(module, "zforms_save_file", &library->save_file) &&
         find(module, "zforms_last_error", &library->last_error);
}

static int fill(const struct library* library, char** arguments) {
  zforms_form* const form = library->form_new();
  const int done = library->open_file(form, arguments[2], NULL, 0) == ZFORMS_OK &&
                   library->set_value(form, arguments[3], arguments[4]) == ZFORMS_OK &&
                   library->save_file(form, arguments[5], ZFORMS_UPDATE) == ZFORMS_OK;
  if (!done) fprintf(stderr, "%s\n", library->last_error(form));
  library->form_free(form);
  return done;
}

// Converts a text to UTF-8, which the library needs. The caller frees the result.
static char* to_utf8(const wchar_t* wide) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, NULL, 0, NULL, NULL);
  char* const text = malloc((size_t)size + 1);
  if (text != NULL) WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, size, NULL, NULL);
  return text;
}

int main(void) {
  enum { kArguments = 6 };
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == NULL || count != kArguments) {
    fprintf(stderr, "usage: c_loading_host ZFORMS.dll FORM.pdf FIELD VALUE FILLED.pdf\n");
    return 2;
  }
  struct library library;
  if (!load(wide[1], &library)) return 1;
  printf("zforms %s\n", library.version());
  char* arguments[kArguments];
  for (int i = 0; i < kArguments; i++) arguments[i] = to_utf8(wide[i]);
  const int done = fill(&library, arguments);
  for (int i = 0; i < kArguments; i++) free(arguments[i]);
  LocalFree(wide);
  return done ? 0 : 1;
}
