// SQLite's calls with its errors thrown.
#ifndef AGENT_SQLITE_H
#define AGENT_SQLITE_H

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace agentd {

// What failed and why; the text does not name the file.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(sqlite3* database, const std::string& operation);
  int Code() const { return code_; }  // extended result code

 private:
  int code_;
};

// sqlite3_prepare_v2, sqlite3_bind_*, sqlite3_step.
class Statement {
 public:
  Statement(sqlite3* database, std::string_view sql);

  // The text must live until the next Step has returned false or Reset.
  Statement& Bind(int index, std::string_view text);
  Statement& Bind(int index, std::int64_t number);
  // True when there is a row.
  bool Step();
  // Runs to the end and makes it ready to be bound again.
  void Run();

  std::string_view Text(int column) const;
  std::int64_t Number(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace agentd

#endif
