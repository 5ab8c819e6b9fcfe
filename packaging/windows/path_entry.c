// Adds a folder to the PATH of all users, or removes it: path_entry add|remove FOLDER. The installer runs it, because
// the installer's own texts end after 1,024 characters and PATH may be longer.

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>
#include <windows.h>

// Must be included after <windows.h>.
#include <shellapi.h>

static const wchar_t kKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";

// Reads PATH with room for `more` characters; null on failure. The caller frees it.
static wchar_t* read_path(HKEY key, size_t more, DWORD* type) {
  DWORD bytes = 0;
  *type = REG_EXPAND_SZ;
  const LSTATUS known = RegQueryValueExW(key, L"Path", NULL, type, NULL, &bytes);
  if (known != ERROR_SUCCESS && known != ERROR_FILE_NOT_FOUND) return NULL;
  wchar_t* const path = calloc(bytes / sizeof(wchar_t) + more + 1, sizeof(wchar_t));
  if (path != NULL && known == ERROR_SUCCESS &&
      RegQueryValueExW(key, L"Path", NULL, type, (BYTE*)path, &bytes) != ERROR_SUCCESS) {
    free(path);
    return NULL;
  }
  return path;
}

// Removes the folder from the list wherever it is a whole entry.
static void remove_entry(wchar_t* path, const wchar_t* folder) {
  const size_t length = wcslen(folder);
  wchar_t* at = path;
  while (*at != L'\0') {
    const size_t entry = wcscspn(at, L";");
    const size_t with_end = entry + (at[entry] == L';' ? 1 : 0);
    if (entry == length && _wcsnicmp(at, folder, length) == 0) {
      wmemmove(at, at + with_end, wcslen(at + with_end) + 1);
    } else {
      at += with_end;
    }
  }
  const size_t left = wcslen(path);
  if (left > 0 && path[left - 1] == L';') path[left - 1] = L'\0';
}

static int change(HKEY key, int add, const wchar_t* folder) {
  DWORD type = 0;
  wchar_t* const path = read_path(key, wcslen(folder) + 1, &type);
  if (path == NULL) return 0;
  remove_entry(path, folder);
  if (add) {
    if (*path != L'\0') wcscat(path, L";");
    wcscat(path, folder);
  }
  const DWORD bytes = (DWORD)((wcslen(path) + 1) * sizeof(wchar_t));
  const LSTATUS written = RegSetValueExW(key, L"Path", 0, type, (const BYTE*)path, bytes);
  free(path);
  return written == ERROR_SUCCESS;
}

int main(void) {
  int count = 0;
  wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (arguments == NULL || count != 3) {
    fprintf(stderr, "usage: path_entry add|remove FOLDER\n");
    return 2;
  }
  HKEY key = NULL;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY, &key) != ERROR_SUCCESS) {
    return 1;
  }
  const int done = change(key, wcscmp(arguments[1], L"add") == 0, arguments[2]);
  RegCloseKey(key);
  // New programs see the change; a window that does not answer is not waited for.
  SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, (LPARAM)L"Environment", SMTO_ABORTIFHUNG, 2000, NULL);
  return done ? 0 : 1;
}
