#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/Index/SqlStatement.h"
#include "KrdFileLib/Index/SqliteDatabase.h"

namespace Varnholt::KrdFiles::Index {

class StatementCache;

// A statement lent out by a StatementCache for one use: one run of a
// command, or the life of one cursor. Only its holder binds and steps it.
// When the lease ends the statement is reset, its bindings cleared, and it
// goes back to the cache for the next use of the same text; if the cache
// is gone by then (the connection was closed), it is finalised instead.
class CachedStatement {
 public:
  CachedStatement() = default;
  CachedStatement(CachedStatement&&) noexcept = default;
  CachedStatement& operator=(CachedStatement&& other) noexcept;
  ~CachedStatement();

  SqlStatement& operator*() const { return *statement_; }
  SqlStatement* operator->() const { return statement_.get(); }

 private:
  friend class StatementCache;
  // The cache's place for one text: its idle statement, if any.
  struct Slot {
    std::unique_ptr<SqlStatement> idle;
  };
  CachedStatement(std::weak_ptr<StatementCache> cache, Slot* slot,
                  std::unique_ptr<SqlStatement> statement);
  void GiveBack() noexcept;

  std::weak_ptr<StatementCache> cache_;
  Slot* slot_ = nullptr;  // where the statement goes back; owned by the cache
  std::unique_ptr<SqlStatement> statement_;
};

// The prepared statements of one connection's session, kept by their text
// so that the statements a recording or a reader runs over and over are
// prepared once rather than per use. A statement is lent to one user at a
// time: when its text is asked for while the cached one is still lent out
// (a cursor over the same query is still open), a fresh statement is
// prepared for that use, and afterwards the cache keeps one of the two.
// Statements that failed to prepare are never kept, and the number of texts
// kept is bounded. Destroying the cache finalises every statement it holds;
// the connection does so before it closes its handle.
class StatementCache : public CommonLib::NonCopyableClassBase,
                       public std::enable_shared_from_this<StatementCache> {
 public:
  static constexpr std::size_t kMaxTexts = 64;

  explicit StatementCache(SqliteDatabase database);

  // A statement of text ready to bind: the cached one when it is idle,
  // else a freshly prepared one (check IsPrepared before use).
  CachedStatement Take(const std::string& text);

  // Statements held idle right now, for tests.
  std::size_t IdleCount() const;

 private:
  friend class CachedStatement;
  void GiveBack(CachedStatement::Slot& slot, std::unique_ptr<SqlStatement> statement) noexcept;

  SqliteDatabase database_;
  std::unordered_map<std::string, std::unique_ptr<CachedStatement::Slot>> slots_;
};

}  // namespace Varnholt::KrdFiles::Index
