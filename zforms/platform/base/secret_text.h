#pragma once

#include <string>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/os_memory.h"

namespace zforms {

// A text with a key or a password, wiped when it is destroyed or replaced. A copy of type Chaine is not wiped: if it is
// destroyed later, the bytes that both share stay in memory.
class SecretText : public Chaine {
 public:
  using Chaine::Chaine;
  SecretText() = default;
  SecretText(Chaine text) noexcept : Chaine(std::move(text)) {}
  SecretText(const SecretText& other) noexcept = default;
  SecretText(SecretText&& other) noexcept = default;
  SecretText& operator=(const SecretText& other) noexcept {
    if (this != &other) *this = SecretText(other);
    return *this;
  }
  SecretText& operator=(SecretText&& other) noexcept {
    if (this == &other) return *this;
    Wipe();
    Chaine::operator=(std::move(other));
    return *this;
  }
  ~SecretText() { Wipe(); }
};

// A password as callers give it, in UTF-8; wiped when it is destroyed, replaced or moved.
class SecretString : public std::string {
 public:
  using std::string::string;
  SecretString() = default;
  SecretString(std::string text) noexcept { Take(text); }
  SecretString(const SecretString& other) = default;
  SecretString(SecretString&& other) noexcept { Take(other); }
  SecretString& operator=(const SecretString& other) {
    if (this != &other) *this = SecretString(other);
    return *this;
  }
  SecretString& operator=(SecretString&& other) noexcept {
    if (this == &other) return *this;
    Wipe(*this);
    Take(other);
    return *this;
  }
  ~SecretString() { Wipe(*this); }

 private:
  // Moving a short text copies it: its bytes stay in the old string, so they are overwritten here.
  void Take(std::string& text) noexcept {
    swap(text);
    Wipe(text);
  }
  static void Wipe(std::string& text) noexcept {
    text.resize(text.capacity());
    WipeBytes(text.data(), text.size());
    text.clear();
  }
};

}  // namespace zforms
