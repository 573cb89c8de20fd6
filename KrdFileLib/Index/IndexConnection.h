#pragma once

// The index database of a recording: the KRQ file, an SQLite database with
// one table per kind of entity, whose rows carry each entity's fields and
// the offset of its packet in the KRD file.
//
//   IndexConnection    the connection to one KRQ file and its batching of
//                      writes into transactions (this file)
//   SqlCommand         a statement text and its positional parameters
//   IntegerCommand     the same for integers only, made without allocating
//   SqlQuery           the cursor over the rows of one statement
//   SqliteDatabase,
//   SqlStatement       the RAII owners of SQLite's handles
//   StatementCache     a session's prepared statements, kept for reuse
//   TableColumn*       typed columns that bind and read one value
//   IndexTable         a table as a column list that writes its own SQL,
//                      and a one-row buffer; one subclass per table
//   IndexSchema        the CREATE TABLE texts of a new KRQ file

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/IntegerCommand.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLib/Index/SqlQuery.h"
#include "KrdFileLib/Index/SqlStatement.h"
#include "KrdFileLib/Index/SqliteDatabase.h"
#include "KrdFileLib/Index/StatementCache.h"

namespace Varnholt::KrdFiles::Index {

// One file object's connection to its KRQ file. Recording writes many small
// rows, so writes are grouped: while the connection is open a transaction is
// always open, and it is committed after StatementsPerCommit() counted
// statements, when CommitIfDue finds the commit interval passed since the
// first of them, and on Close. Statements are prepared once per text and
// session and reused from a cache. Used only under its file object's lock.
//
// No host call may undo another (IndexBatch.cpp):
//   - a file object brackets each call with BeginOperation/EndOperation; a
//     failing call's own statements are rolled back and nothing else, and a
//     batch that fills up during a call is committed when the call ends;
//   - a batch whose commit failed is committed again before the next
//     counted statement, which fails with the engine's text while the
//     commit does, so no call adds to a batch that cannot be committed;
//   - the counted statements since the last commit are kept in memory, so
//     when SQLite rolls back the whole batch by itself (a full disk, an I/O
//     error) they are run again before the next statement; while that keeps
//     failing, every statement fails with code 41 and the index stays whole;
//   - a hook runs before each commit that carries writes: a recorder syncs
//     its data file there, so a committed row never points at bytes that a
//     power loss could take back.
class IndexConnection : public CommonLib::NonCopyableClassBase {
 public:
  // A null clock stands for the process's real clock.
  IndexConnection(std::string path, std::shared_ptr<const CommonLib::IClock> clock);
  ~IndexConnection();

  // Opens an existing KRQ file (code 4 when it cannot be opened; 41 when a
  // table of the library's is not as the library makes it).
  void Open();
  // Opens an existing KRQ file to read it only. A file on read-only media (a
  // write-protected file or folder, a share, an archive mount) opens too;
  // one whose write-ahead log still holds changes that cannot be read there
  // is refused with code 4 and says so. Such a session sees what other
  // connections commit and never keeps the write-ahead log from being
  // folded back for long: while maintenance passes run it keeps its snapshot
  // from call to call until a pass lets it go (ReleaseReadSnapshot), and
  // without them each call reads a snapshot of its own and holds none after
  // it (MaintenancePassesRun in CommitLimits.h).
  void OpenForReading();
  // Creates a KRQ file with the full schema. A file that already holds an
  // index is left as it was and the connection ends closed.
  void Create();
  // Commits and closes; harmless when not open. A commit that fails is
  // tried again a few times (running the batch again where SQLite rolled it
  // back), as a disk that filled up may have room again a moment later; the
  // handle is closed even when the commit fails for good, and then the
  // failure is reported.
  void Close();
  // Closes without committing, as after a failed Create.
  void Abandon() noexcept;

  // Begin or commit the batch's transaction; each does nothing when there
  // is nothing to do (a transaction already open, or none to commit).
  void BeginTransaction();
  void CommitTransaction();

  // Runs one statement once, uncounted. True when it ran to its end, false
  // when it produced a row.
  bool ExecuteNonQuery(const SqlCommand& command);
  bool ExecuteNonQuery(const IntegerCommand& command);
  // As ExecuteNonQuery, and counts the statement into the batch. Every
  // insert, update and delete goes through here.
  bool ExecuteCounted(const SqlCommand& command);
  bool ExecuteCounted(const IntegerCommand& command);
  // A cursor prepared but not yet executed.
  std::shared_ptr<SqlQuery> PrepareQuery(const SqlCommand& command);
  // A cursor executed and standing on its first row, if any.
  std::shared_ptr<SqlQuery> ExecuteQuery(const SqlCommand& command);

  bool TableExists(const std::string& table_name);
  // Switches the file to WAL and creates every index table.
  void CreateTables();
  // For rebuilding an index, where speed matters more than durability.
  void DisableSynchronousWrites();
  // Called by the maintenance thread: commits once the interval since the
  // batch's first statement has passed.
  void CommitIfDue();
  // Called by the maintenance thread too: a transaction that has only read
  // pins the snapshot of its first read, so a reader would never see what a
  // recorder commits later, and SQLite could not checkpoint the write-ahead
  // log past it while the reader stays open. This ends such a transaction
  // and begins a new one; a cursor still open keeps its own snapshot until
  // it is done.
  void ReleaseReadSnapshot();

  // One host call on the file (IndexBatch.cpp). Calls nest; the outermost
  // decides: on success its statements stay in the batch (which is
  // committed now if it has filled up), on failure they are rolled back.
  // True when this call is the outermost one.
  bool BeginOperation();
  void EndOperation(bool succeeded) noexcept;
  bool InOperation() const { return operation_depth_ > 0; }
  // Commits at the end of the current call (at once outside a call).
  void RequestCommit();
  // Runs before each commit that carries writes, unless synchronous writes
  // are off; a failure leaves the batch uncommitted and is reported.
  void SetBeforeCommit(std::function<void()> hook) { before_commit_ = std::move(hook); }

  int64_t LastInsertRowId() const;
  bool IsOpen() const { return is_open_; }
  int32_t PendingStatements() const { return pending_statements_; }
  const std::string& Path() const { return path_; }

 private:
  // Where the running call's first write found the batch.
  struct OperationStart {
    std::size_t journal_size;
    int32_t pending_statements;
  };
  // A counted statement as the journal keeps it.
  using JournalEntry = std::variant<SqlCommand, IntegerCommand>;

  void RequireOpen() const;
  void StartSession(SqliteDatabase database);
  // As StartSession, for a file from elsewhere: its tables must be as the
  // library makes them (code 41).
  void StartExistingSession(SqliteDatabase database);
  void CloseWithoutThrowing() noexcept;
  void CommitAndBegin();
  // The statement for text from the session's cache; the one place
  // statements are prepared.
  CachedStatement Prepare(const std::string& text);
  // ExecuteNonQuery and ExecuteCounted, for either kind of command.
  template <typename Command>
  bool RunOnce(const Command& command);
  template <typename Command>
  bool Count(const Command& command);
  // Binds and steps the command's statement once; true when it ran to its
  // end.
  template <typename Command>
  bool Run(const Command& command);
  bool Run(const JournalEntry& entry);
  // Runs a transaction-control statement (begin, commit, rollback).
  void RunControl(const char* text);
  // SQLite rolls a transaction back by itself after some failures; this
  // notes that the batch is lost and opens a new transaction so that the
  // batch goes on inside one.
  void RestoreTransaction() noexcept;
  // Runs a lost batch again from the journal; throws while it cannot.
  void CatchUp();
  // Notes where the batch stood at the running call's first write.
  void MarkOperationStart();
  void UndoOperation() noexcept;
  // Whether each call reads a snapshot of its own, held during the call.
  bool SnapshotPerCall() const;
  // Ends a reading session's call: its snapshot goes.
  void EndReadSnapshot() noexcept;

  std::string path_;
  std::shared_ptr<const CommonLib::IClock> clock_;
  SqliteDatabase database_;
  // Dropped before the handle on Close, which finalises what it holds.
  std::shared_ptr<StatementCache> statements_;
  bool is_open_ = false;
  // Opened for reading: nothing is ever written.
  bool reads_only_ = false;
  int32_t pending_statements_ = 0;
  int64_t commit_deadline_ = 0;

  // The counted statements since the last commit, in order.
  std::vector<JournalEntry> journal_;
  // SQLite's transaction no longer holds the journal's statements.
  bool batch_lost_ = false;
  bool replaying_ = false;
  int operation_depth_ = 0;
  std::optional<OperationStart> operation_start_;
  bool commit_requested_ = false;
  // The last commit tried did not go through.
  bool commit_failed_ = false;
  bool synchronous_ = true;
  std::function<void()> before_commit_;
};

}  // namespace Varnholt::KrdFiles::Index
