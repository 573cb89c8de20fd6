#include "KrdFileLib/Index/IndexConnection.h"

#include <exception>
#include <utility>

#include "CommonLib/Clock.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/CommitLimits.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/IndexSchema.h"

namespace Varnholt::KrdFiles::Index {

IndexConnection::IndexConnection(std::string path, std::shared_ptr<const CommonLib::IClock> clock)
    : path_(std::move(path)),
      clock_(clock ? std::move(clock) : std::make_shared<const CommonLib::Clock>()) {}

IndexConnection::~IndexConnection() { CloseWithoutThrowing(); }

void IndexConnection::Open() {
  if (is_open_) throw Errors::IndexAlreadyOpenOnOpen();
  auto database = SqliteDatabase::Open(path_, SQLITE_OPEN_READWRITE);
  if (!database) throw Errors::IndexFileNotFound();
  StartSession(std::move(*database));
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

void IndexConnection::StartSession(SqliteDatabase database) {
  database_ = std::move(database);
  statements_ = std::make_shared<StatementCache>(database_);
  is_open_ = true;
  pending_statements_ = 0;
  BeginTransaction();
}

void IndexConnection::Close() {
  if (!is_open_) return;
  std::exception_ptr commit_failure;
  try {
    CommitTransaction();
  } catch (...) {
    commit_failure = std::current_exception();
  }
  is_open_ = false;
  statements_.reset();           // finalises the idle statements
  database_ = SqliteDatabase();  // closes unless a cursor still holds it
  if (commit_failure) std::rethrow_exception(commit_failure);
}

void IndexConnection::CloseWithoutThrowing() noexcept {
  try {
    Close();
  } catch (...) {
    // Close has released the handle before reporting; nothing is left to do.
  }
}

void IndexConnection::BeginTransaction() {
  RequireOpen();
  if (!database_.InTransaction()) Run(SqlCommand("begin transaction"));
}

void IndexConnection::CommitTransaction() {
  RequireOpen();
  pending_statements_ = 0;
  if (database_.InTransaction()) ExecuteNonQuery(SqlCommand("commit"));
}

void IndexConnection::CommitAndBegin() {
  CommitTransaction();
  BeginTransaction();
}

bool IndexConnection::ExecuteNonQuery(const SqlCommand& command) {
  RequireOpen();
  try {
    return Run(command);
  } catch (...) {
    RestoreTransaction();
    throw;
  }
}

bool IndexConnection::ExecuteCounted(const SqlCommand& command) {
  const bool done = ExecuteNonQuery(command);
  if (pending_statements_ == 0) commit_deadline_ = clock_->DeadlineAfter(CommitIntervalMs());
  ++pending_statements_;
  if (pending_statements_ >= StatementsPerCommit()) CommitAndBegin();
  return done;
}

std::shared_ptr<SqlQuery> IndexConnection::PrepareQuery(const SqlCommand& command) {
  RequireOpen();
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
  ExecuteNonQuery(SqlCommand("PRAGMA synchronous=NORMAL"));
  for (const std::string& text : CreateTableTexts()) ExecuteNonQuery(SqlCommand(text));
  BeginTransaction();
}

void IndexConnection::DisableSynchronousWrites() {
  CommitTransaction();
  ExecuteCounted(SqlCommand("PRAGMA synchronous=OFF"));
  BeginTransaction();
}

void IndexConnection::CommitIfDue() {
  if (is_open_ && pending_statements_ != 0 && clock_->HasElapsed(commit_deadline_)) {
    CommitAndBegin();
  }
}

void IndexConnection::ReleaseReadSnapshot() {
  if (is_open_ && pending_statements_ == 0 && database_.HoldsReadSnapshot()) CommitAndBegin();
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

bool IndexConnection::Run(const SqlCommand& command) {
  const CachedStatement statement = Prepare(command.Text());
  statement->CheckPrepared();
  command.BindTo(*statement);
  return statement->Step() == SQLITE_DONE;
}

void IndexConnection::RestoreTransaction() noexcept {
  if (!is_open_ || database_.InTransaction()) return;
  pending_statements_ = 0;  // whatever the batch held was rolled back with it
  try {
    BeginTransaction();
  } catch (...) {
    // The original failure is the one worth reporting.
  }
}

}  // namespace Varnholt::KrdFiles::Index
