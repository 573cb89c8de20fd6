// How the index connection groups writes: the batch's transaction, its
// commits, undoing a failed host call, and running a batch again that
// SQLite has rolled back by itself. IndexConnection.h describes the rules.

#include <cstddef>
#include <exception>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/CommitLimits.h"
#include "KrdFileLib/Index/IndexConnection.h"

namespace Varnholt::KrdFiles::Index {

namespace {

// The most counted statements a batch holds before it is committed whatever
// the batch size: about 20 MB of statements kept in memory.
constexpr std::size_t kMaxJournalStatements = 100000;

}  // namespace

void IndexConnection::BeginTransaction() {
  RequireOpen();
  // A session that reads a snapshot per call holds a transaction during
  // calls only.
  if (operation_depth_ == 0 && SnapshotPerCall()) return;
  if (!database_.InTransaction()) RunControl("begin transaction");
}

void IndexConnection::CommitTransaction() {
  RequireOpen();
  CatchUp();
  commit_failed_ = true;  // until the commit below has gone through
  if (pending_statements_ > 0 && synchronous_ && before_commit_) before_commit_();
  if (database_.InTransaction()) {
    try {
      RunControl("commit");
    } catch (...) {
      RestoreTransaction();
      throw;
    }
  }
  commit_failed_ = false;
  pending_statements_ = 0;
  journal_.clear();
  commit_requested_ = false;
}

void IndexConnection::CommitAndBegin() {
  CommitTransaction();
  BeginTransaction();
}

bool IndexConnection::ExecuteCounted(const SqlCommand& command) { return Count(command); }

bool IndexConnection::ExecuteCounted(const IntegerCommand& command) { return Count(command); }

template <typename Command>
bool IndexConnection::Count(const Command& command) {
  RequireOpen();
  // A batch that could not be committed (a full disk) is committed before
  // anything more joins it: the call that would change the recording fails
  // with the engine's text while that fails, so the host learns of it at
  // once, not at Close.
  if (commit_failed_) CommitAndBegin();
  CatchUp();
  MarkOperationStart();
  const bool done = ExecuteNonQuery(command);
  journal_.emplace_back(command);
  if (pending_statements_ == 0) commit_deadline_ = clock_->DeadlineAfter(CommitIntervalMs());
  ++pending_statements_;
  // A host may set batches far larger than a recording needs; the journal
  // that keeps the batch for running it again is bounded all the same.
  if (pending_statements_ >= StatementsPerCommit() || journal_.size() >= kMaxJournalStatements) {
    RequestCommit();
  }
  return done;
}

void IndexConnection::DisableSynchronousWrites() {
  CommitTransaction();
  synchronous_ = false;
  ExecuteCounted(SqlCommand("PRAGMA synchronous=OFF"));
  BeginTransaction();
}

void IndexConnection::CommitIfDue() {
  if (!is_open_) return;
  if (batch_lost_ || (pending_statements_ != 0 && clock_->HasElapsed(commit_deadline_))) {
    CommitAndBegin();
  }
}

void IndexConnection::ReleaseReadSnapshot() {
  if (is_open_ && pending_statements_ == 0 && !batch_lost_ &&
      database_.HoldsReadSnapshot()) {
    CommitAndBegin();
  }
}

void IndexConnection::RequestCommit() {
  commit_requested_ = true;
  if (operation_depth_ == 0) CommitAndBegin();
}

void IndexConnection::RestoreTransaction() noexcept {
  if (!is_open_ || database_.InTransaction()) return;
  // SQLite has rolled the whole transaction back.
  batch_lost_ = !journal_.empty();
  try {
    BeginTransaction();
  } catch (...) {
    // The original failure is the one worth reporting.
  }
}

void IndexConnection::CatchUp() {
  if (!batch_lost_ || replaying_) return;
  replaying_ = true;
  try {
    BeginTransaction();
    for (const JournalEntry& entry : journal_) Run(entry);
    replaying_ = false;
    batch_lost_ = false;
  } catch (const std::exception& failure) {
    replaying_ = false;
    // Back to the last commit, so that the next attempt starts from there.
    try {
      if (database_.InTransaction()) RunControl("rollback");
    } catch (...) {
      // The connection is beyond use; the next attempt reports it again.
    }
    throw Errors::IndexBehind(failure.what());
  }
}

// Calls ------------------------------------------------------------------
//
// A failing call is undone by rolling the batch back and running its
// statements again up to where the call began. This gives the same rows as
// a savepoint per call would (statements run again in the same order on the
// same committed state produce the same row IDs), and costs nothing on the
// success path, where a savepoint and its release took a fifth of the time
// of recording a small data block. Most refusals come before any write, and
// undo nothing.

bool IndexConnection::BeginOperation() {
  if (++operation_depth_ > 1) return false;
  if (is_open_ && SnapshotPerCall()) {
    try {
      BeginTransaction();  // the call's one snapshot
    } catch (...) {
      // Then each of the call's statements reads a snapshot of its own.
    }
  }
  return true;
}

bool IndexConnection::SnapshotPerCall() const { return reads_only_ && !MaintenancePassesRun(); }

void IndexConnection::EndReadSnapshot() noexcept {
  try {
    if (database_.InTransaction()) RunControl("commit");
  } catch (...) {
    // A read transaction that cannot end ends with the connection.
  }
}

void IndexConnection::MarkOperationStart() {
  if (operation_depth_ == 0 || operation_start_) return;
  operation_start_ = OperationStart{journal_.size(), pending_statements_};
}

void IndexConnection::EndOperation(bool succeeded) noexcept {
  if (operation_depth_ == 0 || --operation_depth_ > 0) return;
  if (is_open_ && !succeeded) UndoOperation();
  operation_start_.reset();
  if (is_open_ && SnapshotPerCall()) {
    EndReadSnapshot();
    return;
  }
  if (!is_open_ || !commit_requested_) return;
  try {
    CommitAndBegin();
  } catch (...) {
    // The call itself succeeded and its statements wait in the batch, which
    // the next commit writes; a commit that keeps failing is reported by the
    // next call, and by Close.
  }
}

void IndexConnection::UndoOperation() noexcept {
  if (!operation_start_) return;
  const std::size_t kept = operation_start_->journal_size;
  if (journal_.size() == kept && !batch_lost_) return;  // the call wrote nothing
  journal_.erase(journal_.begin() + static_cast<std::ptrdiff_t>(kept), journal_.end());
  pending_statements_ = operation_start_->pending_statements;
  try {
    if (database_.InTransaction()) RunControl("rollback");
  } catch (...) {
    // A connection that cannot roll back has lost the transaction anyway.
  }
  batch_lost_ = true;
  try {
    CatchUp();
  } catch (...) {
    // The next call tries again and reports what keeps it from working.
  }
}

}  // namespace Varnholt::KrdFiles::Index
