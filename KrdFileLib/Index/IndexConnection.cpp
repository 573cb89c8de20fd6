// Opening, creating and closing a KRQ file, and running its statements. The
// grouping of writes into batches and calls lives in IndexBatch.cpp.

#include "KrdFileLib/Index/IndexConnection.h"

#include <exception>
#include <utility>

#include "CommonLib/Clock.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/IndexSchema.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// How often Close tries its last commit before it gives up.
constexpr int kCloseCommitAttempts = 10;

// True when the connection can read the file's schema, or fails to for a
// reason other than the medium refusing what SQLite needs to read it.
bool ReadsOrFailsForContent(const SqliteDatabase& database) {
  const int result = sqlite3_exec(database.Handle(), "SELECT count(*) FROM sqlite_master", nullptr,
                                  nullptr, nullptr);
  const int kind = result & 0xff;
  return kind != SQLITE_READONLY && kind != SQLITE_CANTOPEN && kind != SQLITE_IOERR &&
         kind != SQLITE_PERM && kind != SQLITE_BUSY;
}

// The path as an SQLite URI that opens the file as unchanging: without
// locks and without its write-ahead log, which a read-only folder cannot
// hold the companion files of.
std::string ImmutableUri(const std::string& path) {
  std::string uri = "file:";
#if defined(_WIN32)
  if (path.size() > 1 && path[1] == ':') uri += "///";
#endif
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      static constexpr char kHex[] = "0123456789ABCDEF";
      uri += '%';
      uri += kHex[static_cast<unsigned char>(c) >> 4];
      uri += kHex[static_cast<unsigned char>(c) & 0xf];
#if defined(_WIN32)
    } else if (c == '\\') {
      uri += '/';
#endif
    } else {
      uri += c;
    }
  }
  return uri + "?immutable=1";
}

}  // namespace

IndexConnection::IndexConnection(std::string path, std::shared_ptr<const CommonLib::IClock> clock)
    : path_(std::move(path)),
      clock_(clock ? std::move(clock) : std::make_shared<const CommonLib::Clock>()) {}

IndexConnection::~IndexConnection() { CloseWithoutThrowing(); }

void IndexConnection::Open() {
  if (is_open_) throw Errors::IndexAlreadyOpenOnOpen();
  auto database = SqliteDatabase::Open(path_, SQLITE_OPEN_READWRITE);
  if (!database) throw Errors::IndexFileNotFound();
  StartExistingSession(std::move(*database));
}

void IndexConnection::OpenForReading() {
  if (is_open_) throw Errors::IndexAlreadyOpenOnOpen();
  // SQLite opens a file it may not write read-only by itself, and reads it
  // as long as it can keep the log's companion files beside it.
  auto database = SqliteDatabase::Open(path_, SQLITE_OPEN_READWRITE);
  if (!database) throw Errors::IndexFileNotFound();
  if (!ReadsOrFailsForContent(*database)) {
    // A read-only folder: the file can only be read as it stands, which is
    // the whole index unless its log still holds committed changes.
    const std::optional<uint64_t> log_size = PlatformFile::SizeOf(path_ + "-wal");
    if (log_size && *log_size > 0) throw Errors::IndexLogUnreadable();
    database = SqliteDatabase::Open(ImmutableUri(path_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    if (!database) throw Errors::IndexFileNotFound();
  }
  reads_only_ = true;
  StartExistingSession(std::move(*database));
}

void IndexConnection::Create() {
  if (is_open_) throw Errors::IndexAlreadyOpenOnCreate();
  auto database = SqliteDatabase::Open(path_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!database) throw Errors::KrqFileNotCreated();
  StartSession(std::move(*database));
  if (TableExists(DataTable::kTableName)) {
    CloseWithoutThrowing();
    throw Errors::KrqFileAlreadyExists();
  }
  CreateTables();
}

void IndexConnection::StartExistingSession(SqliteDatabase database) {
  StartSession(std::move(database));
  // A missing table fails where it is used, with the engine's text.
  const auto unlike = FirstTableNotAsMade(database_);
  if (unlike && !unlike->missing) {
    CloseWithoutThrowing();
    throw Errors::IndexTableUnlike(unlike->table);
  }
}

void IndexConnection::StartSession(SqliteDatabase database) {
  database_ = std::move(database);
  statements_ = std::make_shared<StatementCache>(database_);
  is_open_ = true;
  pending_statements_ = 0;
  journal_.clear();
  batch_lost_ = false;
  commit_failed_ = false;
  BeginTransaction();
}

void IndexConnection::Close() {
  if (!is_open_) return;
  std::exception_ptr commit_failure;
  for (int attempt = 1; attempt <= kCloseCommitAttempts; ++attempt) {
    try {
      CommitTransaction();
      commit_failure = nullptr;
      break;
    } catch (...) {
      commit_failure = std::current_exception();
    }
  }
  is_open_ = false;
  journal_.clear();
  statements_.reset();           // finalises the idle statements
  database_ = SqliteDatabase();  // closes unless a cursor still holds it
  if (commit_failure) std::rethrow_exception(commit_failure);
}

void IndexConnection::Abandon() noexcept {
  is_open_ = false;
  journal_.clear();
  batch_lost_ = false;
  statements_.reset();
  database_ = SqliteDatabase();  // SQLite rolls back what was not committed
}

void IndexConnection::CloseWithoutThrowing() noexcept {
  try {
    Close();
  } catch (...) {
    // Close has released the handle before reporting; nothing is left to do.
  }
}

bool IndexConnection::ExecuteNonQuery(const SqlCommand& command) { return RunOnce(command); }

bool IndexConnection::ExecuteNonQuery(const IntegerCommand& command) { return RunOnce(command); }

template <typename Command>
bool IndexConnection::RunOnce(const Command& command) {
  RequireOpen();
  try {
    CatchUp();
    return Run(command);
  } catch (...) {
    RestoreTransaction();
    throw;
  }
}

std::shared_ptr<SqlQuery> IndexConnection::PrepareQuery(const SqlCommand& command) {
  RequireOpen();
  CatchUp();
  return std::make_shared<SqlQuery>(command, Prepare(command.Text()));
}

std::shared_ptr<SqlQuery> IndexConnection::ExecuteQuery(const SqlCommand& command) {
  auto query = PrepareQuery(command);
  try {
    query->Execute();
  } catch (...) {
    RestoreTransaction();
    throw;
  }
  return query;
}

bool IndexConnection::TableExists(const std::string& table_name) {
  const SqlCommand command("SELECT name FROM sqlite_master WHERE type='table' AND name='" +
                           table_name + "'");
  return ExecuteQuery(command)->HasRow();
}

void IndexConnection::CreateTables() {
  RequireOpen();
  CommitTransaction();  // the journal mode cannot change inside a transaction
  ExecuteNonQuery(SqlCommand("PRAGMA journal_mode=WAL;"));
  // The log is not synced at each commit: a recorder syncs its data file
  // before every commit instead, so a commit that a power loss takes back
  // only leaves the index behind its data file, which repair catches up.
  ExecuteNonQuery(SqlCommand("PRAGMA synchronous=NORMAL"));
  for (const std::string& text : CreateTableTexts()) ExecuteNonQuery(SqlCommand(text));
  BeginTransaction();
}

int64_t IndexConnection::LastInsertRowId() const {
  RequireOpen();
  return database_.LastInsertRowId();
}

void IndexConnection::RequireOpen() const {
  if (!is_open_) throw Errors::IndexNotOpen();
}

CachedStatement IndexConnection::Prepare(const std::string& text) {
  return statements_->Take(text);
}

template <typename Command>
bool IndexConnection::Run(const Command& command) {
  const CachedStatement statement = Prepare(command.Text());
  statement->CheckPrepared();
  command.BindTo(*statement);
  return statement->Step() == SQLITE_DONE;
}

bool IndexConnection::Run(const JournalEntry& entry) {
  return std::visit([this](const auto& command) { return Run(command); }, entry);
}

void IndexConnection::RunControl(const char* text) { Run(SqlCommand(text)); }

}  // namespace Varnholt::KrdFiles::Index
