#include "support/AwakeQuestion.h"

namespace support {

namespace {

// The first of the options that has that key, a text.
std::string Option(DBusMessageIter options, const char* wanted) {
  for (; dbus_message_iter_get_arg_type(&options) == DBUS_TYPE_DICT_ENTRY;
       dbus_message_iter_next(&options)) {
    DBusMessageIter entry;
    DBusMessageIter value;
    const char* key = nullptr;
    const char* text = nullptr;
    dbus_message_iter_recurse(&options, &entry);
    dbus_message_iter_get_basic(&entry, &key);
    dbus_message_iter_next(&entry);
    dbus_message_iter_recurse(&entry, &value);
    if (std::string(key) == wanted && dbus_message_iter_get_arg_type(&value) == DBUS_TYPE_STRING) {
      dbus_message_iter_get_basic(&value, &text);
      return text;
    }
  }
  return "";
}

}  // namespace

PortalQuestion ReadPortal(DBusMessage* call) {
  PortalQuestion question;
  DBusMessageIter arguments;
  DBusMessageIter options;
  if (std::string(dbus_message_get_signature(call)) != "sua{sv}") {
    return question;
  }
  dbus_message_iter_init(call, &arguments);
  dbus_message_iter_next(&arguments);
  dbus_message_iter_get_basic(&arguments, &question.flags);
  dbus_message_iter_next(&arguments);
  dbus_message_iter_recurse(&arguments, &options);
  question.token = Option(options, "handle_token");
  question.reason = Option(options, "reason");
  return question;
}

std::string ReadTexts(DBusMessage* call) {
  std::string texts;
  DBusMessageIter arguments;
  if (dbus_message_iter_init(call, &arguments) == FALSE) {
    return texts;
  }
  do {
    const char* text = "?";
    if (dbus_message_iter_get_arg_type(&arguments) == DBUS_TYPE_STRING) {
      dbus_message_iter_get_basic(&arguments, &text);
    }
    texts += (texts.empty() ? "" : ", ") + std::string(text);
  } while (dbus_message_iter_next(&arguments) != FALSE);
  return texts;
}

std::string Sender(DBusMessage* message) {
  const char* sender = dbus_message_get_sender(message);
  return sender != nullptr ? sender : "";
}

}  // namespace support
