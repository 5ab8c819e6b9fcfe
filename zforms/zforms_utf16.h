#pragma once

// Variants of the functions in zforms/zforms_form.h that take UTF-16 texts in the byte order of the machine. They are
// for Windows, whose wchar_t is a uint16_t here. Texts end with a zero unit, and lengths count units.

#include "zforms/zforms_form.h"

#ifdef __cplusplus
extern "C" {
#endif

ZFORMS_API zforms_status zforms_open_file_utf16(zforms_form* form, const uint16_t* path, const uint16_t* password,
                                                unsigned flags);
ZFORMS_API zforms_status zforms_find_field_utf16(zforms_form* form, const uint16_t* name, size_t* index);
ZFORMS_API zforms_status zforms_field_text_utf16(zforms_form* form, size_t index, zforms_field_part part, size_t n,
                                                 uint16_t* buffer, size_t size, size_t* length);
ZFORMS_API zforms_status zforms_get_value_utf16(zforms_form* form, const uint16_t* name, uint16_t* buffer, size_t size,
                                                size_t* length);
ZFORMS_API zforms_status zforms_set_value_utf16(zforms_form* form, const uint16_t* name, const uint16_t* value);
ZFORMS_API zforms_status zforms_fill_file_utf16(zforms_form* form, const uint16_t* path);
ZFORMS_API zforms_status zforms_save_file_utf16(zforms_form* form, const uint16_t* path, zforms_save_mode mode);
ZFORMS_API zforms_status zforms_last_error_utf16(const void* handle, uint16_t* buffer, size_t size, size_t* length);

// Converts UTF-8 to UTF-16, for functions that have no UTF-16 variant. Bytes that are not UTF-8 become U+FFFD.
ZFORMS_API zforms_status zforms_utf16_from_utf8(const char* text, uint16_t* buffer, size_t size, size_t* length);
// Converts UTF-16 to UTF-8. Surrogates that are not in a pair become U+FFFD.
ZFORMS_API zforms_status zforms_utf8_from_utf16(const uint16_t* text, char* buffer, size_t size, size_t* length);

#ifdef __cplusplus
}
#endif
