#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/batch/batch_options.h"
#include "tool/forms/drawing_options.h"
#include "zforms/filling/export_format.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms::tool {

// The commands of the tool and their options. Each returns the exit status and writes messages to standard error,
// results to standard output. "-" as a path means standard input or output.

struct FieldsOptions {
  std::string file;
  SecretString password;
  bool recover = false;
  bool json = false;
};
int RunFields(const FieldsOptions& options);

struct FillOptions {
  std::string file;
  std::string data;
  std::string output;
  SecretString password;
  bool recover = false;
  GuardOptions guard;
  DrawingOptions drawing;
  bool flatten = false;   // flatten the form after filling; see FlattenOptions
  bool calculate = true;  // see ZFormOptions
};
int RunFill(const FillOptions& options);

struct ExportOptions {
  std::vector<std::string> files;
  ExportFormat format = ExportFormat::kXFDF;
  std::string output;
  SecretString password;
  bool all = false;
  bool recover = false;
  bool spreadsheet = false;
};
int RunExport(const ExportOptions& options);

struct MapOptions {
  std::string file;
  std::string maps;
  std::string section;
  SecretString password;
  std::vector<std::string> rubrics;  // "NAME" or "NAME=FILE"
  bool recover = false;
};
int RunMap(const MapOptions& options);

int RunBatch(const BatchOptions& options);

struct CheckOptions {
  std::string file;
  SecretString password;
  bool recover = false;
};
int RunCheck(const CheckOptions& options);

struct RewriteOptions {
  std::string file;
  std::string output;
  SecretString password;
  bool recover = false;
  bool force = false;
  bool decrypt = false;
};
int RunRewrite(const RewriteOptions& options);

struct DrawOptions {
  std::string file;
  std::string output;
  SecretString password;
  bool recover = false;
  bool force = false;
  DrawingOptions drawing;
};
int RunDraw(const DrawOptions& options);

struct FlattenOptions {
  std::string file;
  std::string output;
  std::vector<std::string> fields;  // full names; all fields when empty
  SecretString password;
  bool recover = false;
  bool force = false;
};
int RunFlatten(const FlattenOptions& options);

struct PermissionsOptions {
  std::string file;
  std::string output;
  SecretString password;
  bool recover = false;
  bool force = false;
  std::optional<uint32_t> flags;
  std::string encrypt;  // the method; empty to keep it
  SecretString user_password;
  SecretString owner_password;
};
int RunPermissions(const PermissionsOptions& options);

struct ViewerOptions {
  std::string file;
  std::string output;
  SecretString password;
  bool recover = false;
  bool force = false;
  std::optional<bool> hide_toolbar;
  std::optional<bool> hide_menubar;
  std::optional<bool> hide_window_ui;
  std::optional<bool> fit_window;
  std::optional<bool> center_window;
  std::optional<bool> display_doc_title;
};
int RunViewer(const ViewerOptions& options);

struct ShowOptions {
  std::string file;
  std::string object;
  SecretString password;
  bool recover = false;
  bool data = false;
};
int RunShow(const ShowOptions& options);

}  // namespace zforms::tool
