#pragma once
// The suite's message type: a message key with the texts that were appended to it, thrown by
// value where an operation meets a state that should not exist.

#include <exception>
#include <string>
#include <vector>

#include "VxCommon_export.h"

class VXCOMMON_EXPORT TVxMessage : public std::exception {
 public:
  explicit TVxMessage(std::string key);

  // The message key, such as "Err_Internal_func".
  const std::string& Key() const noexcept { return key_; }
  // The texts appended with operator<<, in order.
  const std::vector<std::string>& Args() const noexcept { return args_; }
  // The key followed by ": " and the appended texts separated by ", ".
  const char* what() const noexcept override { return text_.c_str(); }

  TVxMessage& operator<<(const std::string& arg);
  TVxMessage& operator<<(const char* arg);
  TVxMessage& operator<<(long long arg);
  TVxMessage& operator<<(double arg);

 private:
  std::string key_;
  std::vector<std::string> args_;
  std::string text_;
};

// Builds the message for a key; the caller appends its details with operator<< and throws it.
VXCOMMON_EXPORT TVxMessage VxMsg_helper(const std::string& key);
