#include "VxMessage.h"

#include <gtest/gtest.h>

#include <string>

TEST(VxMessage, HelperMakesMessageWithKeyAndNoArguments) {
  const TVxMessage message = VxMsg_helper("Err_Internal_func");
  EXPECT_EQ(message.Key(), "Err_Internal_func");
  EXPECT_TRUE(message.Args().empty());
  EXPECT_STREQ(message.what(), "Err_Internal_func");
}

TEST(VxMessage, AppendedTextsFollowTheKeyInOrder) {
  TVxMessage message = VxMsg_helper("Err_Internal_func");
  message << "TVxCameraDistortion::Save()" << std::string("second") << 42LL << 0.5;
  ASSERT_EQ(message.Args().size(), 4u);
  EXPECT_EQ(message.Args()[0], "TVxCameraDistortion::Save()");
  EXPECT_STREQ(message.what(), "Err_Internal_func: TVxCameraDistortion::Save(), second, 42, 0.5");
}

TEST(VxMessage, IsThrownByValueAndCaughtAsStdException) {
  try {
    throw VxMsg_helper("Err_Internal_func") << "where";
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "Err_Internal_func: where");
    return;
  }
  FAIL() << "nothing thrown";
}
