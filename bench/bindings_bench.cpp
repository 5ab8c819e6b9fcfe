// Fills a form for each row of a table in C++, for comparison with other languages (bench/bindings.py).
//   bindings_bench FORM.pdf ROWS.csv FOLDER fill|draw|batch
// "batch" opens the form once, and reads the table row by row, which is measured too. "fill" and "draw" read the table
// before the measurement. Prints the seconds of the clock and of the processor. Reading the form's file is not counted.

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zforms/filling/csv_reader.h"
#include "zforms/filling/form_batch.h"
#include "zforms/form.h"
#include "zforms/platform/files/file_io.h"

namespace {

std::string ReadFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

zforms::CsvReader OpenTable(const char* path) {
  zforms::ByteSource source;
  source.Open(path);
  return zforms::CsvReader(std::move(source));
}

std::vector<zforms::Row> ReadRows(const char* path) {
  zforms::CsvReader reader = OpenTable(path);
  std::vector<zforms::Row> rows;
  for (zforms::Row row; reader.Next(&row);) rows.push_back(row);
  return rows;
}

std::string PathOf(const std::string& folder, const zforms::Row& row) {
  return folder + "/" + std::to_string(row.number) + ".pdf";
}

bool FillEach(const std::string& bytes, const std::vector<zforms::Row>& rows, const std::string& folder, bool draw) {
  for (const zforms::Row& row : rows) {
    zforms::ZForm form;
    if (!form.OpenBytes(bytes, {.draw = draw})) return false;
    for (size_t i = 0; i < row.cells.size(); i++) {
      if (!form.SetValue((*row.names)[i], row.cells[i].text)) return false;
    }
    if (!form.Save(PathOf(folder, row))) return false;
  }
  return true;
}

bool FillBatch(const std::string& bytes, const char* table, const std::string& folder) {
  zforms::ZForm form;
  zforms::ZFormMessages messages;
  if (!form.OpenBytes(bytes)) return false;
  zforms::ZFormBatch batch(form.Document(), {});
  if (!batch.Prepare(&messages)) return false;
  zforms::CsvReader reader = OpenTable(table);
  zforms::Chaine filled;
  for (zforms::Row row; reader.Next(&row);) {
    if (!batch.Fill(row, &filled, &messages) || !zforms::ReplaceFile(PathOf(folder, row), filled)) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: bindings_bench FORM.pdf ROWS.csv FOLDER fill|draw|batch\n";
    return 2;
  }
  const std::string bytes = ReadFile(argv[1]);
  const std::vector<zforms::Row> rows = ReadRows(argv[2]);
  const std::string_view mode = argv[4];
  const auto start = std::chrono::steady_clock::now();
  const std::clock_t start_of_work = std::clock();
  const bool done =
      mode == "batch" ? FillBatch(bytes, argv[2], argv[3]) : FillEach(bytes, rows, argv[3], mode == "draw");
  const double work = static_cast<double>(std::clock() - start_of_work) / CLOCKS_PER_SEC;
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  std::printf("{\"clock\": %.6f, \"processor\": %.6f}\n", time.count(), work);
  return done && !rows.empty() ? 0 : 1;
}
