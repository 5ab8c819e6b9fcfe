#pragma once

#include <string>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/os_memory.h"

namespace zforms {

// A text with a key or a password, wiped when it is destroyed or replaced. Where a copy of type Chaine is destroyed
// after it, the bytes that both share stay.
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

// A password as callers give it, in UTF-8; wiped when it is destroyed.
class SecretString : public std::string {
 public:
  using std::string::string;
  SecretString() = default;
  SecretString(std::string text) noexcept : std::string(std::move(text)) {}
  SecretString(const SecretString& other) = default;
  SecretString(SecretString&& other) noexcept = default;
  SecretString& operator=(const SecretString& other) = default;
  SecretString& operator=(SecretString&& other) noexcept = default;
  ~SecretString() { WipeBytes(data(), size()); }
};

}  // namespace zforms
