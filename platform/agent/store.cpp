#include "store.h"

#include <sys/stat.h>

#include "fail_point.h"
#include "sqlite.h"

namespace agentd {
namespace {

// "cfmR": which program the file belongs to (PRAGMA application_id).
constexpr std::int64_t kApplication = 0x63666d52;
constexpr std::int64_t kFormat = 1;  // PRAGMA user_version

constexpr const char* kSchema =
    "BEGIN;"
    "CREATE TABLE node(path TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;"
    "CREATE TABLE state(name TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;"
    "INSERT INTO state VALUES('txid', 0);"
    "PRAGMA application_id=1667657042;"
    "PRAGMA user_version=1;"
    "COMMIT;";
static_assert(kApplication == 1667657042);

void Execute(sqlite3* database, const char* sql, const char* operation) {
  if (sqlite3_exec(database, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw SqliteError(database, operation);
  }
}

std::int64_t Pragma(sqlite3* database, const std::string& name) {
  Statement statement(database, "PRAGMA " + name);
  return statement.Step() ? statement.Number(0) : 0;
}

bool IsEmpty(sqlite3* database) {
  Statement statement(database, "SELECT count(*) FROM sqlite_schema");
  return statement.Step() && statement.Number(0) == 0;
}

// Which file the name stands for: a database that was unlinked takes writes, and
// nobody would ever find them again.
std::optional<FileIdentity> IdentityOf(const std::filesystem::path& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return FileIdentity{status.st_dev, status.st_ino};
}

const char* Advice(int code) {
  switch (code & 0xff) {
    case SQLITE_FULL:
      return "make room on the file system and commit again";
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      return "make the directory and the file writable for agentd and commit again";
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return "stop agentd, put a good copy of the file in its place and start it again";
    default:
      return "look after the disk and the file system and commit again";
  }
}

const char* AdviceToOpen(int code) {
  switch (code & 0xff) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return "put a good copy of the file in its place, or move it away to begin with an empty "
             "configuration";
    case SQLITE_FULL:
      return "make room on the file system and start agentd again";
    default:
      return "look after the disk and the file system and start agentd again";
  }
}

}  // namespace

void Store::Close::operator()(sqlite3* database) const {
  sqlite3_close_v2(database);
}

Store::Store(const std::filesystem::path& file) : file_(file) {
  try {
    Open();
    CheckOwner();
    CheckIntegrity();
    ReadTxid();
    identity_ = IdentityOf(file_);
  } catch (const SqliteError& error) {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': " + error.what() + "; " + AdviceToOpen(error.Code()));
  }
}

void Store::Open() {
  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(file_.c_str(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  database_.reset(database);
  if (result != SQLITE_OK) {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': " + sqlite3_errmsg(database) +
                             "; make its directory writable for agentd, or name another with "
                             "--state-dir");
  }
  if (sqlite3_db_readonly(database, "main") == 1) {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': it is read-only; make it writable for agentd");
  }
}

void Store::CheckOwner() {
  sqlite3* database = database_.get();
  const bool is_new = IsEmpty(database);
  if (!is_new && (Pragma(database, "application_id") != kApplication ||
                  Pragma(database, "user_version") != kFormat)) {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': the database is another program's or another version's; move "
                             "it away, or name another directory with --state-dir");
  }
  Execute(database, "PRAGMA journal_mode=WAL", "switch to a write-ahead log");
  Execute(database, "PRAGMA synchronous=FULL", "switch to synchronous writing");
  if (is_new) {
    Execute(database, kSchema, "make the tables");
  }
}

void Store::CheckIntegrity() {
  Statement check(database_.get(), "PRAGMA quick_check(1)");
  if (check.Step() && check.Text(0) != "ok") {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': it is damaged: " + std::string(check.Text(0)) +
                             "; put a good copy of the file in its place, or move it away to "
                             "begin with an empty configuration");
  }
}

void Store::ReadTxid() {
  Statement txid(database_.get(), "SELECT value FROM state WHERE name = 'txid'");
  if (!txid.Step() || txid.Number(0) < 0) {
    throw std::runtime_error("open the running configuration '" + file_.native() +
                             "': it is damaged: it has no transaction id; put a good copy of the "
                             "file in its place, or move it away to begin with an empty "
                             "configuration");
  }
  txid_ = static_cast<std::uint64_t>(txid.Number(0));
}

void Store::ForEachRow(
    const std::function<void(std::string_view path, std::string_view value)>& row) {
  Statement rows(database_.get(), "SELECT path, value FROM node ORDER BY path");
  while (rows.Step()) {
    row(rows.Text(0), rows.Text(1));
  }
}

void Store::Write(std::uint64_t txid, const std::vector<RowChange>& changes) {
  sqlite3* database = database_.get();
  Statement put(database, "INSERT OR REPLACE INTO node VALUES(?1, ?2)");
  Statement drop(database, "DELETE FROM node WHERE path = ?1");
  Statement drop_below(database, "DELETE FROM node WHERE path >= ?1 AND path < ?2");
  // An update to the value that it has would write nothing.
  Statement number(database, "REPLACE INTO state VALUES('txid', ?1)");
  CFM_FAIL_POINT(agent_commit_storing);
  Execute(database, "BEGIN IMMEDIATE", "begin a transaction");
  for (const RowChange& change : changes) {
    if (change.kind == RowChange::Kind::kPut) {
      put.Bind(1, change.path).Bind(2, change.value).Run();
      continue;
    }
    drop.Bind(1, change.path).Run();
    if (change.kind == RowChange::Kind::kDropSubtree) {
      // '0' is the character after '/'.
      const std::string first = change.path + "/";
      const std::string last = change.path + "0";
      drop_below.Bind(1, first).Bind(2, last).Run();
    }
  }
  number.Bind(1, static_cast<std::int64_t>(txid)).Run();
  CFM_FAIL_POINT(agent_commit_written);
  Execute(database, "COMMIT", "commit");
  CFM_FAIL_POINT(agent_commit_stored);
}

Problems Store::Commit(std::uint64_t txid, const std::vector<RowChange>& changes) {
  if (IdentityOf(file_) != identity_) {
    return {{.message = "store the configuration in '" + file_.native() +
                        "': the file was removed or replaced while agentd runs; nothing was "
                        "changed: put it back, or restart agentd to work with what is there now"}};
  }
  try {
    Write(txid, changes);
  } catch (const SqliteError& error) {
    CFM_FAIL_POINT(agent_commit_rolling_back);
    RollBack();
    CFM_FAIL_POINT(agent_commit_rolled_back);
    const bool is_sure = error.Code() != SQLITE_IOERR_FSYNC || BuryFailedCommit();
    return {{.message = "store the configuration in '" + file_.native() + "': " + error.what() +
                        (is_sure ? "; nothing was changed: "
                                 : "; nothing was changed, but the change may be found in the "
                                   "file when agentd is started again: ") +
                        Advice(error.Code())}};
  }
  txid_ = txid;
  return {};
}

void Store::RollBack() {
  if (sqlite3_get_autocommit(database_.get()) == 0) {
    sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

// A commit whose sync failed stands whole at the end of the write-ahead log,
// and whoever opens the file next would take it for done. This process does not
// count it, so the next transaction is written over it: here one that says
// what holds. When that cannot be synced either it is still what will be read.
// False when it could not be written.
bool Store::BuryFailedCommit() {
  CFM_FAIL_POINT(agent_commit_burying);
  try {
    Write(txid_, {});
    CFM_FAIL_POINT(agent_commit_buried);
  } catch (const SqliteError& error) {
    RollBack();
    return error.Code() == SQLITE_IOERR_FSYNC;
  }
  return true;
}

}  // namespace agentd
