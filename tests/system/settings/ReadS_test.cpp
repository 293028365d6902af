#include <gtest/gtest.h>

#include <string>

#include "internal/VxSettingsIO.h"

TEST(ReadS, MissingKeyGivesTheDefault) {
  auto reader = TVxXIniReader::FromText("other: x\n");
  EXPECT_EQ(reader->ReadS<std::string>("camera_type", "fallback"), "fallback");
  EXPECT_EQ(reader->ReadS<std::string>("camera_type", ""), "");
}

TEST(ReadS, PresentKeyGivesItsText) {
  auto reader = TVxXIniReader::FromText("camera_type: Fiducials\nrotation: \"90\"\nempty: ''\n");
  EXPECT_EQ(reader->ReadS<std::string>("camera_type", "fallback"), "Fiducials");
  EXPECT_EQ(reader->ReadS<std::string>("rotation", ""), "90");
  EXPECT_EQ(reader->ReadS<std::string>("empty", "fallback"), "");
}

TEST(ReadS, KeyHoldingASectionIsTheReadersError) {
  auto reader = TVxXIniReader::FromText("points:\n  - {index: 1}\n", "meas.yaml");
  try {
    reader->ReadS<std::string>("points", "");
    FAIL() << "no error";
  } catch (const TVxXIniReadError& error) {
    EXPECT_STREQ(error.what(), "meas.yaml:2:3: points: expected a value, found a section");
  }
}

TEST(ReadS, IsOneFindAndOneReadOfTheReader) {
  auto reader = TVxXIniReader::FromText("a: x\n");
  reader->ReadS<std::string>("a", "");
  EXPECT_EQ(reader->OperationCount(), 2u);
  reader->FailAtOperation(4);
  EXPECT_THROW(reader->ReadS<std::string>("a", ""), TVxXIniReadError);
}
