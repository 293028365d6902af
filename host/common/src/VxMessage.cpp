#include "VxMessage.h"

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
  return *this << Vextrion::ssprintf("%.17g", arg);
}

TVxMessage VxMsg_helper(const std::string& key) {
  return TVxMessage(key);
}
