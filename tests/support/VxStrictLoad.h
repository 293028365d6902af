#pragma once
// The check every strict loader's tests make: a bad text gives the reader's error, which names
// what is wrong, and the target keeps every byte it had.

#include <gtest/gtest.h>

#include <string>

#include "VxRecordBytes.h"
#include "VxXIni.h"

namespace vx_test {

// Loads `text` with LoadE into a copy of `marker`; expects TVxXIniReadError whose message holds
// `inMessage`, and the copy unchanged byte for byte.
template <class TRecord>
void ExpectLoadFailsAndKeepsTarget(const TRecord& marker, const std::string& text,
                                   const std::string& inMessage) {
  TRecord target = marker;
  const std::string before = RecordBytes(target);
  const auto reader = TVxXIniReader::FromText(text);
  try {
    target.LoadE(reader.get());
    ADD_FAILURE() << "no error for:\n" << text;
  } catch (const TVxXIniReadError& e) {
    EXPECT_NE(std::string(e.what()).find(inMessage), std::string::npos) << e.what();
  }
  EXPECT_EQ(RecordBytes(target), before);
}

}  // namespace vx_test
