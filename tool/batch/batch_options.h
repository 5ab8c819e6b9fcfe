#pragma once

#include <string>
#include <vector>

#include "tool/batch/shard.h"
#include "tool/forms/drawing_options.h"
#include "tool/postgres/postgres_address.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms::tool {

// The command line options of a batch, which makes one filled form for each row.
struct BatchOptions {
  std::string file;
  std::string data;   // a file, "-" for standard input, or the address of a database
  std::string query;  // the SQL query that gives the rows of a database
  std::string query_file;
  std::string maps;
  std::string section;
  std::vector<std::string> rubrics;  // "NAME=FILE", or "NAME" for the rubric of the rows
  std::string folder;                // "-" for an archive at standard output
  std::string merged;                // the path of one PDF file for all rows, instead of a folder
  std::string name;
  std::string report;
  SecretString password;
  Shard shard;
  std::vector<std::string> merged_reports;  // the reports of shards to join; if there are any, no form is filled
  unsigned jobs = 0;                        // 0 for the number of cores
  bool stop_on_error = false;
  bool resume = false;
  bool overwrite = false;
  bool recover = false;
  bool flatten = false;   // flatten each form after filling it
  bool calculate = true;  // see ZFormOptions
  GuardOptions guard;
  DrawingOptions drawing;

  bool HasDatabase() const { return IsPostgresAddress(data); }
  // How messages and the report name the data: without the passwords of an address.
  std::string ShownData() const { return HasDatabase() ? WithoutPasswords(data) : data; }
};

}  // namespace zforms::tool
