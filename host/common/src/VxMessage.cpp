#include "VxMessage.h"

#include <charconv>
#include <utility>

#include "VxSsprintf.h"

TVxMessage::TVxMessage(std::string key) : key_(std::move(key)), text_(key_) {}

TVxMessage& TVxMessage::operator<<(const std::string& arg) {
  text_ += args_.empty() ? ": " : ", ";
  text_ += arg;
  args_.push_back(arg);
  return *this;
}

TVxMessage& TVxMessage::operator<<(const char* arg) {
  return *this << std::string(arg != nullptr ? arg : "(null)");
}

TVxMessage& TVxMessage::operator<<(long long arg) {
  return *this << Vextrion::ssprintf("%lld", arg);
}

TVxMessage& TVxMessage::operator<<(double arg) {
  // 17 significant digits read back as the same double; std::to_chars writes them the same way
  // whatever locale the host program has set (printf would write a decimal comma under some).
  char buffer[32];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, arg, std::chars_format::general, 17);
  return *this << std::string(buffer, result.ptr);
}

TVxMessage VxMsg_helper(const std::string& key) {
  return TVxMessage(key);
}
