#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "zforms/c/form_handle.h"
#include "zforms/platform/text/text.h"
#include "zforms/zforms_utf16.h"

using zforms::c::Guarded;
using zforms::c::Handle;

namespace {

// Converts a UTF-16 text that ends with a zero unit to UTF-8; null stays null.
class Utf8 {
 public:
  explicit Utf8(const uint16_t* text) : is_null_(text == nullptr) {
    if (is_null_) return;
    size_t length = 0;
    while (text[length] != 0) length++;
    constexpr auto kOrder =
        std::endian::native == std::endian::little ? zforms::ByteOrder::eLittleEndian : zforms::ByteOrder::eBigEndian;
    text_ = zforms::UTF16ToUTF8({reinterpret_cast<const char*>(text), length * sizeof(uint16_t)}, kOrder).ToString();
  }

  const char* Get() const { return is_null_ ? nullptr : text_.c_str(); }
  const std::string& Text() const { return text_; }

 private:
  bool is_null_;
  std::string text_;
};

zforms_status CopyUtf16(std::string_view utf8, uint16_t* buffer, size_t size, size_t* length) {
  const zforms::Chaine bytes = zforms::UTF8ToUTF16BE(utf8);
  const size_t count = bytes.size() / 2;
  if (length != nullptr) *length = count;
  if (buffer == nullptr) return size == 0 ? ZFORMS_OK : ZFORMS_ERROR_ARGUMENT;
  if (size > 0) buffer[0] = 0;
  if (size <= count) return ZFORMS_ERROR_LENGTH;
  for (size_t i = 0; i < count; i++) {
    const auto high = static_cast<unsigned char>(bytes.View()[2 * i]);
    const auto low = static_cast<unsigned char>(bytes.View()[2 * i + 1]);
    buffer[i] = static_cast<uint16_t>(high << 8 | low);
  }
  buffer[count] = 0;
  return ZFORMS_OK;
}

// Calls `read`, which stores a UTF-8 text in a buffer, and converts the text to UTF-16.
template <class Read>
zforms_status ReadUtf16(Handle* handle, Read read, uint16_t* buffer, size_t size, size_t* length) {
  size_t needed = 0;
  const zforms_status status = read(nullptr, size_t{0}, &needed);
  if (status != ZFORMS_OK) return status;
  return Guarded(handle, [&] {
    std::vector<char> text(needed + 1);
    const zforms_status copied = read(text.data(), text.size(), &needed);
    return copied == ZFORMS_OK ? CopyUtf16({text.data(), needed}, buffer, size, length) : copied;
  });
}

// Converts the texts to UTF-8 and calls a function of the form with them; a null text stays null.
template <class Call, class... Texts>
zforms_status WithUtf8(zforms_form* form, Call call, const Texts*... texts) {
  zforms_status status = ZFORMS_ERROR_ARGUMENT;
  const zforms_status converted = Guarded(form, [&] {
    status = call(Utf8(texts).Get()...);
    return ZFORMS_OK;
  });
  return converted == ZFORMS_OK ? status : converted;
}

}  // namespace

extern "C" {

zforms_status zforms_open_file_utf16(zforms_form* form, const uint16_t* path, const uint16_t* password,
                                     unsigned flags) {
  return WithUtf8(
      form, [&](const char* at, const char* word) { return zforms_open_file(form, at, word, flags); }, path, password);
}

zforms_status zforms_find_field_utf16(zforms_form* form, const uint16_t* name, size_t* index) {
  return WithUtf8(
      form, [&](const char* text) { return zforms_find_field(form, text, index); }, name);
}

zforms_status zforms_field_text_utf16(zforms_form* form, size_t index, zforms_field_part part, size_t n,
                                      uint16_t* buffer, size_t size, size_t* length) {
  const auto read = [&](char* to, size_t room, size_t* needed) {
    return zforms_field_text(form, index, part, n, to, room, needed);
  };
  return ReadUtf16(form, read, buffer, size, length);
}

zforms_status zforms_get_value_utf16(zforms_form* form, const uint16_t* name, uint16_t* buffer, size_t size,
                                     size_t* length) {
  size_t index = 0;
  const zforms_status status = zforms_find_field_utf16(form, name, &index);
  if (status != ZFORMS_OK) return status;
  zforms_field field{};
  field.size = sizeof field;
  zforms_get_field(form, index, &field);
  if (field.value_count == 0) {
    return Guarded(form, [&] { return CopyUtf16({}, buffer, size, length); });
  }
  return zforms_field_text_utf16(form, index, ZFORMS_FIELD_VALUE, 0, buffer, size, length);
}

zforms_status zforms_set_value_utf16(zforms_form* form, const uint16_t* name, const uint16_t* value) {
  return WithUtf8(
      form, [&](const char* field, const char* text) { return zforms_set_value(form, field, text); }, name, value);
}

zforms_status zforms_fill_file_utf16(zforms_form* form, const uint16_t* path) {
  return WithUtf8(
      form, [&](const char* at) { return zforms_fill_file(form, at); }, path);
}

zforms_status zforms_save_file_utf16(zforms_form* form, const uint16_t* path, zforms_save_mode mode) {
  return WithUtf8(
      form, [&](const char* at) { return zforms_save_file(form, at, mode); }, path);
}

zforms_status zforms_last_error_utf16(const void* handle, uint16_t* buffer, size_t size, size_t* length) {
  return zforms_utf16_from_utf8(zforms_last_error(handle), buffer, size, length);
}

zforms_status zforms_utf16_from_utf8(const char* text, uint16_t* buffer, size_t size, size_t* length) {
  Handle none;
  return Guarded(&none,
                 [&] { return text == nullptr ? ZFORMS_ERROR_ARGUMENT : CopyUtf16(text, buffer, size, length); });
}

zforms_status zforms_utf8_from_utf16(const uint16_t* text, char* buffer, size_t size, size_t* length) {
  Handle none;
  return Guarded(&none, [&] {
    return text == nullptr ? ZFORMS_ERROR_ARGUMENT : zforms::c::CopyText(Utf8(text).Text(), buffer, size, length);
  });
}

}  // extern "C"
