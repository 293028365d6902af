#pragma once
// Tables of (value, file text) rows and the two lookups that every enumeration's conversions
// share. Private to the library.
//
// A table ends with a row whose text is null; that row's value is what the non-throwing
// lookup gives for an unknown text, and it differs between tables.

#include <cstring>
#include <stdexcept>
#include <string>

#include "VxSsprintf.h"

template <class E>
struct TEnumToTextTableItem {
  E value;
  const char* text;
};

// The file text of `value`. An unknown value throws std::runtime_error; a non-empty context
// heads the message on a line of its own.
template <class E, class TItem>
std::string EnumToTextE_do(E value, const TItem* table, const char* context) {
  for (const TItem* row = table; row->text != nullptr; ++row) {
    if (row->value == value) return row->text;
  }
  const int number = static_cast<int>(value);
  if (context != nullptr && *context != '\0') {
    throw std::runtime_error(
        Vextrion::ssprintf("%s\n@EnumToTextE(): Invalid enum value: %i.", context, number));
  }
  throw std::runtime_error(Vextrion::ssprintf("@EnumToTextE(): Invalid enum value: %i.", number));
}

// The row whose text equals `text` byte for byte, or the terminating row. A text holding a zero
// character matches no row.
template <class TItem>
const TItem* FindEnumTextRow(const std::string& text, const TItem* table) {
  const TItem* row = table;
  const bool hasZero = text.find('\0') != std::string::npos;
  for (; row->text != nullptr; ++row) {
    if (!hasZero && text == row->text) return row;
  }
  return row;
}

// The value of `text`, or the terminating row's value for an unknown text (never throws).
template <class E, class TItem>
E TextToEnum_do(const std::string& text, const TItem* table) {
  return FindEnumTextRow(text, table)->value;
}

// The value of `text`; an unknown text throws std::runtime_error, headed by a non-empty context.
template <class E, class TItem>
E TextToEnumE_do(const std::string& text, const TItem* table, const char* context) {
  const TItem* row = FindEnumTextRow(text, table);
  if (row->text != nullptr) return row->value;
  if (context != nullptr && *context != '\0') {
    throw std::runtime_error(
        Vextrion::ssprintf("%s\n@TextToEnumE(): Invalid text value: %s.", context, text.c_str()));
  }
  throw std::runtime_error(
      Vextrion::ssprintf("@TextToEnumE(): Invalid text value: %s.", text.c_str()));
}
