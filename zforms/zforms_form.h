#pragma once

// Forms in the C interface: see zforms/zforms.h.

#include "zforms/zforms_types.h"

// NOLINTBEGIN(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct zforms_form zforms_form;

// Makes a form without a document; null when there is no memory. Freeing a null pointer does nothing.
ZFORMS_API zforms_form* zforms_form_new(void);
ZFORMS_API void zforms_form_free(zforms_form* form);

// Sets the function that gets the messages from now on; null for none.
ZFORMS_API zforms_status zforms_on_message(zforms_form* form, zforms_message_callback callback, void* user);

// Flags for opening a document; combine them with the operator |.
enum {
  ZFORMS_RECOVER = 1,   // read a damaged file by searching it for objects; it is then saved as a new file
  ZFORMS_KEEP_XFA = 2,  // keep the XFA form, which filling would remove: it still has the old values
  ZFORMS_FORCE = 4,     // make changes that signatures forbid; the signatures are then no longer valid
  ZFORMS_DRAW = 8,      // draw the fields that are filled in, instead of leaving that to viewers
  // Ignore the scripts of the form. Without this flag, scripts that only call the common functions are followed: fields
  // are computed from others, numbers out of range are refused, and values are drawn in their formats.
  ZFORMS_NO_CALCULATION = 16
};

// Adds a font file (TrueType or OpenType) for characters that the form's own fonts do not have. It is tried before the
// fonts of the system. Call this before the form is opened.
ZFORMS_API zforms_status zforms_add_font(zforms_form* form, const char* path);

// Open a document: a file, or bytes, which are copied. `password` may be null. After a failure, the former document
// stays open. A document without a form can be opened too.
ZFORMS_API zforms_status zforms_open_file(zforms_form* form, const char* path, const char* password, unsigned flags);
ZFORMS_API zforms_status zforms_open_bytes(zforms_form* form, const void* bytes, size_t size, const char* password,
                                           unsigned flags);

typedef enum zforms_kind {
  ZFORMS_TEXT = 0,
  ZFORMS_CHECK_BOX = 1,
  ZFORMS_RADIO_BUTTON = 2,  // all buttons of one group
  ZFORMS_PUSH_BUTTON = 3,
  ZFORMS_COMBO_BOX = 4,
  ZFORMS_LIST_BOX = 5,
  ZFORMS_SIGNATURE = 6,
  ZFORMS_NO_KIND = 7  // the field has no type
} zforms_kind;

typedef struct zforms_field {
  size_t size;  // set it to sizeof(zforms_field) before the call
  zforms_kind kind;
  uint32_t flags;       // "/Ff", ISO 32000-1 tables 221, 226, 228 and 230: 1 read-only, 2 required, 4 not exported
  uint32_t page;        // the first page that shows the field, from 1; 0 when none does
  uint32_t max_length;  // the longest value in characters; 0 when there is no limit
  int is_exported;      // whether a reader that submits the form sends the field
  size_t value_count;   // the number of values; a list box may have several
  size_t default_count;
  size_t option_count;  // the number of options of a choice field
  size_t state_count;   // the number of states of a button, without "Off"
  size_t widget_count;  // the number of places on pages where the field is shown
} zforms_field;

// Where a page shows a field, in points from the lower left corner of the page's own coordinates.
typedef struct zforms_widget {
  uint32_t page;  // from 1; 0 when no page lists the widget
  double left, bottom, right, top;
} zforms_widget;

// The texts of a field.
typedef enum zforms_field_part {
  ZFORMS_FIELD_NAME = 0,          // the full name, parts joined by "."
  ZFORMS_FIELD_LABEL = 1,         // "/TU", what the field is called for users
  ZFORMS_FIELD_VALUE = 2,         // value number n, from 0
  ZFORMS_FIELD_DEFAULT = 3,       // default value number n, from 0
  ZFORMS_FIELD_OPTION_VALUE = 4,  // the value of the field when option n is chosen
  ZFORMS_FIELD_OPTION_TEXT = 5,   // the text that viewers show for option n; empty when it is the value
  ZFORMS_FIELD_STATE = 6          // state number n, from 0
} zforms_field_part;

// The fields in the order of the form's tree. Fields that a page shows but the form does not list come last. An index
// is valid until the form is opened again or flattened.
ZFORMS_API zforms_status zforms_field_count(zforms_form* form, size_t* count);
// Finds the first field with this full name; ZFORMS_ERROR_NOT_FOUND when there is none.
ZFORMS_API zforms_status zforms_find_field(zforms_form* form, const char* name, size_t* index);
// Describes the field at this index. zforms_field_text reads its texts, zforms_get_widget its places.
ZFORMS_API zforms_status zforms_get_field(zforms_form* form, size_t index, zforms_field* field);
// A text of the field at this index; `n` is ignored for a name and a label. ZFORMS_ERROR_NOT_FOUND when the field has
// no text with this number.
ZFORMS_API zforms_status zforms_field_text(zforms_form* form, size_t index, zforms_field_part part, size_t n,
                                           char* buffer, size_t size, size_t* length);
// Place number n, from 0, where a page shows the field at this index.
ZFORMS_API zforms_status zforms_get_widget(zforms_form* form, size_t index, size_t n, zforms_widget* widget);

// The first value of the first field with this full name; empty when it has no value.
ZFORMS_API zforms_status zforms_get_value(zforms_form* form, const char* name, char* buffer, size_t size,
                                          size_t* length);
// Set the value of all fields with this full name. A choice field takes the value of an option or the text that viewers
// show for it. A check box takes the name of its state, or a word such as "yes" or "no". Only a list box takes several
// values. ZFORMS_ERROR_DATA when the field does not take a value: it then keeps its old value. ZFORMS_ERROR_NOT_FOUND
// when there is no such field.
ZFORMS_API zforms_status zforms_set_value(zforms_form* form, const char* name, const char* value);
ZFORMS_API zforms_status zforms_set_values(zforms_form* form, const char* name, const char* const* values,
                                           size_t count);

// Fill the form from XFDF, FDF, one JSON object, or CSV with the names in its first line and the values in its second.
// The format is recognized by the first characters of the data, or else by the suffix of `name`, the name of the data's
// file, which may be null. A value that a field does not take gives a warning; the other values are written.
ZFORMS_API zforms_status zforms_fill_file(zforms_form* form, const char* path);
ZFORMS_API zforms_status zforms_fill_bytes(zforms_form* form, const void* data, size_t size, const char* name);

// Draws all fields, so that every viewer shows their values. ZFORMS_ERROR_FORM when the document forbids every change,
// or when a field could not be drawn completely; all other fields are drawn.
ZFORMS_API zforms_status zforms_draw(zforms_form* form);

// Makes the fields with these full names, and the fields below them, part of the pages; all fields when `count` is 0.
// These fields then no longer exist, and the indexes of the other fields change. ZFORMS_ERROR_FORM when nothing was
// flattened; a signed form needs ZFORMS_FORCE.
ZFORMS_API zforms_status zforms_flatten(zforms_form* form, const char* const* names, size_t count);

typedef enum zforms_save_mode {
  ZFORMS_UPDATE = 0,   // appends the changes to the bytes read; writes a recovered document as a new file
  ZFORMS_NEW_FILE = 1  // writes all objects in use to a new file; signatures are no longer valid
} zforms_save_mode;

// Save to a file or to bytes. The saved bytes are then the base of the next save. The form keeps the saved bytes until
// a call passes a buffer that is large enough, or until another call changes the form. No zero byte is added.
ZFORMS_API zforms_status zforms_save_file(zforms_form* form, const char* path, zforms_save_mode mode);
ZFORMS_API zforms_status zforms_save_bytes(zforms_form* form, zforms_save_mode mode, void* buffer, size_t size,
                                           size_t* length);

typedef enum zforms_format {
  ZFORMS_XFDF = 0,
  ZFORMS_FDF = 1,
  ZFORMS_JSON = 2,
  ZFORMS_JSON_LINES = 3,
  ZFORMS_CSV = 4
} zforms_format;

// The values of the fields, in this format. A value of `all` other than 0 includes fields with the flag NoExport.
ZFORMS_API zforms_status zforms_export(zforms_form* form, zforms_format format, int all, char* buffer, size_t size,
                                       size_t* length);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
