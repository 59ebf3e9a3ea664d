#include "sqlite.h"

namespace agentd {
namespace {

std::string Describe(sqlite3* database, const std::string& operation) {
  std::string text = operation + ": " + sqlite3_errmsg(database);
  if (const int system = sqlite3_system_errno(database); system != 0) {
    text += " (errno " + std::to_string(system) + ")";
  }
  return text;
}

}  // namespace

SqliteError::SqliteError(sqlite3* database, const std::string& operation)
    : std::runtime_error(Describe(database, operation)),
      code_(sqlite3_extended_errcode(database)) {}

Statement::Statement(sqlite3* database, std::string_view sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr) !=
      SQLITE_OK) {
    throw SqliteError(database, "prepare a statement");
  }
  statement_.reset(statement);
}

Statement& Statement::Bind(int index, std::string_view text) {
  if (sqlite3_bind_text(statement_.get(), index, text.data(), static_cast<int>(text.size()),
                        SQLITE_STATIC) != SQLITE_OK) {
    throw SqliteError(database_, "bind a text");
  }
  return *this;
}

Statement& Statement::Bind(int index, std::int64_t number) {
  if (sqlite3_bind_int64(statement_.get(), index, number) != SQLITE_OK) {
    throw SqliteError(database_, "bind a number");
  }
  return *this;
}

bool Statement::Step() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) {
    throw SqliteError(database_, "run a statement");
  }
  return result == SQLITE_ROW;
}

void Statement::Run() {
  while (Step()) {
  }
  sqlite3_reset(statement_.get());
}

std::string_view Statement::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return {text != nullptr ? text : "", static_cast<std::size_t>(size)};
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

}  // namespace agentd
