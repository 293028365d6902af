#pragma once
// The lookup behind every ...ToUserText function: a fixed value-to-key table and the module's
// localised text of the key. Private to the library.

#include <cstdint>
#include <string>

#include "VxModule_Initializer.h"

struct TUserTextKey {
  std::int64_t value;
  const char* key;
};

// The text of the key that the table gives the value, looked up anew on every call; "???"
// without a lookup for a value outside the table.
template <std::size_t N>
std::string UserTextOf(std::int64_t value, const TUserTextKey (&keys)[N]) {
  for (const TUserTextKey& row : keys) {
    if (row.value == value) return VxModule_Initializer::getInst().get_resource_string(row.key);
  }
  return "???";
}

// The localised text of one fixed key.
inline std::string UserTextOfKey(const char* key) {
  return VxModule_Initializer::getInst().get_resource_string(key);
}
