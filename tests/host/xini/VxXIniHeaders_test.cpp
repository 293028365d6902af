// yaml-cpp is a private dependency of the settings library: no exported header names it.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

TEST(VxXIniHeaders, NoExportedHeaderIncludesYamlCpp) {
  for (const char* header : {"VxXIni.h", "VxXIniReader.h", "VxXIniWriter.h", "VxXIniTypes.h"}) {
    std::ifstream in(std::string(VX_SOURCE_DIR) + "/host/xini/include/" + header);
    ASSERT_TRUE(in) << header;
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str().find("yaml-cpp"), std::string::npos) << header;
    EXPECT_EQ(text.str().find("YAML::"), std::string::npos) << header;
  }
}
