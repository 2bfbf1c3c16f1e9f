#pragma once

#include <QString>
#include <optional>

/// The device event string: action, index, name, vendor id and product id of one hot-plug event,
/// separated by commas. Nothing is quoted: a comma in the name shifts the fields behind it, in the
/// "add" and in the "remove" of a device alike.
namespace deviceevent {

/// Turns the library's hot-plug JSON (NUL-terminated UTF-8) into an event string. Nothing is
/// returned for a null pointer, for a text that does not parse, and when one of "index", "vid",
/// "pid", "name" and "action" is missing or the last two are no strings.
/// The text stays the caller's. Thread: any.
std::optional<QString> fromJson(const char *utf8Json);

/// Fields by position. A number that is not a decimal integer reads as 0.
QString action(const QString &event);
int index(const QString &event);
QString name(const QString &event);
int vid(const QString &event);
int pid(const QString &event);

} // namespace deviceevent
