// Values on their way into and out of rows, for the sources that read and write tables. All functions throw
// SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "handset/Text.h"

namespace handset {

// Text and numbers as the columns have them.
inline void Bind(SQLite::Statement& statement, int at, const std::u16string& text) { statement.bind(at, ToWtf8(text)); }
inline void Bind(SQLite::Statement& statement, int at, std::u16string_view text) { statement.bind(at, ToWtf8(text)); }
inline void Bind(SQLite::Statement& statement, int at, const std::string& text) { statement.bind(at, text); }
inline void Bind(SQLite::Statement& statement, int at, double number) { statement.bind(at, number); }
template <std::integral T>
void Bind(SQLite::Statement& statement, int at, T number) {
  statement.bind(at, static_cast<std::int64_t>(number));
}
inline void Bind(SQLite::Statement& statement, int at, const Bytes& bytes) {
  // A null pointer would bind null instead of no bytes.
  statement.bind(at, bytes.empty() ? "" : static_cast<const void*>(bytes.data()), static_cast<int>(bytes.size()));
}

template <typename T>
void Bind(SQLite::Statement& statement, int at, const std::optional<T>& value) {
  if (value) {
    Bind(statement, at, *value);
  } else {
    statement.bind(at);
  }
}

// Runs a statement that gives no rows; it can be run again.
template <typename... Values>
void Execute(SQLite::Statement& statement, const Values&... values) {
  int at = 0;
  (Bind(statement, ++at, values), ...);
  statement.exec();
  statement.reset();
}

template <typename... Values>
void Insert(SQLite::Database& database, const char* sql, const Values&... values) {
  SQLite::Statement statement(database, sql);
  Execute(statement, values...);
}

inline std::u16string Text(const SQLite::Column& column) { return FromWtf8(column.getString()); }

inline std::optional<std::u16string> OptionalText(const SQLite::Column& column) {
  if (column.isNull()) return std::nullopt;
  return Text(column);
}

template <typename T>
T Number(const SQLite::Column& column) {
  return static_cast<T>(column.getInt64());
}

inline bool Flag(const SQLite::Column& column) { return column.getInt() != 0; }

inline Bytes Blob(const SQLite::Column& column) {
  const auto* bytes = static_cast<const std::uint8_t*>(column.getBlob());
  return {bytes, bytes + column.getBytes()};
}

inline std::optional<std::int64_t> OptionalInteger(const SQLite::Column& column) {
  if (column.isNull()) return std::nullopt;
  return column.getInt64();
}

}  // namespace handset
