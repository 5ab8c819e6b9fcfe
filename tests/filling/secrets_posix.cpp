// Passwords do not stay in memory: the whole memory of the process is searched for them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/form_text.h"
#include "zforms/filling/form_files.h"
#include "zforms/form.h"

namespace zforms {
namespace {

// The passwords in this file have the lowest bit of each byte inverted. So the plain ones are in memory only where the
// library has put them.
constexpr char kMask = 1;

SecretString Unmasked(std::string_view masked) {
  SecretString text(masked.size(), '\0');
  std::transform(masked.begin(), masked.end(), text.begin(), [](char c) { return static_cast<char>(c ^ kMask); });
  return text;
}

size_t CountIn(std::string_view bytes, std::string_view masked) {
  const char first = static_cast<char>(masked[0] ^ kMask);
  const auto is_masked = [](char a, char b) { return a == static_cast<char>(b ^ kMask); };
  size_t count = 0;
  for (size_t at = bytes.find(first); at != std::string_view::npos; at = bytes.find(first, at + 1)) {
    const std::string_view piece = bytes.substr(at, masked.size());
    count += std::equal(piece.begin(), piece.end(), masked.begin(), masked.end(), is_masked) ? 1 : 0;
  }
  return count;
}

// How often the text is in the writable memory of the process.
size_t CountInMemory(std::string_view masked) {
  constexpr uint64_t kShadowOfSanitizers = uint64_t{1} << 30;
  std::ifstream maps("/proc/self/maps");
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  std::vector<char> buffer;
  size_t count = 0;
  for (std::string line; std::getline(maps, line);) {
    const uint64_t start = std::stoull(line, nullptr, 16);
    const uint64_t size = std::stoull(line.substr(line.find('-') + 1), nullptr, 16) - start;
    if (line.find(" rw") == std::string::npos || size > kShadowOfSanitizers) continue;
    buffer.resize(size);
    const ssize_t read = pread(memory, buffer.data(), size, static_cast<off_t>(start));
    if (read > 0) count += CountIn({buffer.data(), static_cast<size_t>(read)}, masked);
    std::fill(buffer.begin(), buffer.end(), '\0');
  }
  close(memory);
  return count;
}

enum class Method : uint8_t { kRC4, kAES256 };

std::string Locked(Method method, const SecretString& user, const SecretString& owner) {
  ZForm form;
  const FormText text = FormText().Catalog("/Pages 3 0 R").Object(3, "<</Type/Pages/Kids[]/Count 0>>");
  EXPECT_TRUE(form.OpenBytes(FormText(text).Field(10, "<</FT/Tx/T(a)/V(value)>>").Bytes()));
  const SecretText user_text(user);
  const SecretText owner_text(owner);
  if (method == Method::kRC4) {
    form.Document().SetStandardUserFlags(0xFFFFFFF8);
    EXPECT_TRUE(form.Document().SetPasswords(PasswordForms(user).front(), PasswordForms(owner).front()));
  } else {
    EXPECT_TRUE(form.Document().EncryptWithAES256(user_text, owner_text));
  }
  std::string bytes;
  EXPECT_TRUE(form.SaveBytes(&bytes));
  return bytes;
}

TEST(SecretsTest, NoPasswordStaysInMemoryAfterItsFormIsClosed) {
  if (access("/proc/self/mem", R_OK) != 0) GTEST_SKIP() << "the memory of the process cannot be read";
  // The passwords "user's words, long enough" and "owner's words, no less long". The second case appends to
  // the first password a letter of two bytes in UTF-8, and to the second a letter that PDFDocEncoding lacks.
  const struct {
    std::string user, owner;
  } cases[] = {
      {"trds&r!vnser-!mnof!dontfi", "nvods&r!vnser-!on!mdrr!mnof"},
      {"trds&r!vnser-!mnof!dontfi\xC2\xA8", "nvods&r!vnser-!on!mdrr!mnof\xC5\x80"},
  };
  for (const Method method : {Method::kRC4, Method::kAES256}) {
    for (const auto& [user, owner] : cases) {
      const std::string bytes = Locked(method, Unmasked(user), Unmasked(owner));
      for (const std::string& masked : {user, owner}) {
        const std::string_view searched = std::string_view(masked).substr(0, 25);
        {
          ZForm form;
          EXPECT_TRUE(form.OpenBytes(bytes, {Unmasked(masked)}));
          EXPECT_EQ(form.Fields().front().Value(), "value");
          EXPECT_GT(CountInMemory(searched), 0u) << "the search finds nothing";
          EXPECT_TRUE(form.SetValue("a", "other"));
          std::string saved;
          EXPECT_TRUE(form.SaveBytes(&saved, ZForm::SaveAs::kNewFile));
        }
        EXPECT_EQ(CountInMemory(searched), 0u) << static_cast<int>(method) << " " << (masked == owner);
        EXPECT_FALSE(ZForm().OpenBytes(bytes, {Unmasked(' ' + masked)}));
        EXPECT_EQ(CountInMemory(searched), 0u) << "refused";
      }
    }
  }
}

// A short text is stored in the string object itself.
TEST(SecretsTest, ShortPasswordsDoNotStayWhereTheyWereMoved) {
  SecretString first = "short";
  const std::string_view first_bytes(reinterpret_cast<const char*>(&first), sizeof first);
  EXPECT_NE(first_bytes.find("short"), std::string_view::npos);
  SecretString second = std::move(first);
  EXPECT_EQ(first_bytes.find("hort"), std::string_view::npos);
  SecretString third = "another one";
  const std::string_view second_bytes(reinterpret_cast<const char*>(&second), sizeof second);
  third = std::move(second);
  EXPECT_EQ(second_bytes.find("hort"), std::string_view::npos);
  EXPECT_EQ(std::string(third), "short");
  const std::string_view third_bytes(reinterpret_cast<const char*>(&third), sizeof third);
  third = SecretString("x");
  EXPECT_EQ(third_bytes.find("hort"), std::string_view::npos);
  EXPECT_EQ(third_bytes.find("other"), std::string_view::npos);
}

}  // namespace
}  // namespace zforms
