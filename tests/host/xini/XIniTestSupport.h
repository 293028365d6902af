#pragma once
// Helpers shared by the tests of the settings reader and writer.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "VxXIni.h"

namespace xini_test {

// The message of the TVxXIniReadError that `action` throws; a test failure if it throws none.
template <class Action>
std::string ReadErrorOf(Action&& action) {
  try {
    action();
  } catch (const TVxXIniReadError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no TVxXIniReadError was thrown";
  return std::string();
}

// The same for TVxXIniWriteError.
template <class Action>
std::string WriteErrorOf(Action&& action) {
  try {
    action();
  } catch (const TVxXIniWriteError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no TVxXIniWriteError was thrown";
  return std::string();
}

inline std::unique_ptr<TVxXIniReader> Read(std::string_view text,
                                           const std::string& source = "test.yaml") {
  return TVxXIniReader::FromText(text, source);
}

}  // namespace xini_test
