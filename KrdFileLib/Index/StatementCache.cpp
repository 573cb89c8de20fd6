#include "KrdFileLib/Index/StatementCache.h"

#include <utility>

namespace Varnholt::KrdFiles::Index {

CachedStatement::CachedStatement(std::weak_ptr<StatementCache> cache, Slot* slot,
                                 std::unique_ptr<SqlStatement> statement)
    : cache_(std::move(cache)), slot_(slot), statement_(std::move(statement)) {}

CachedStatement& CachedStatement::operator=(CachedStatement&& other) noexcept {
  if (this != &other) {
    GiveBack();
    cache_ = std::move(other.cache_);
    slot_ = std::exchange(other.slot_, nullptr);
    statement_ = std::move(other.statement_);
  }
  return *this;
}

CachedStatement::~CachedStatement() { GiveBack(); }

void CachedStatement::GiveBack() noexcept {
  if (!statement_) return;
  const auto cache = cache_.lock();
  if (cache && slot_ != nullptr) {
    cache->GiveBack(*slot_, std::move(statement_));
  }
  statement_.reset();  // finalised here when the cache did not take it
  slot_ = nullptr;
}

StatementCache::StatementCache(SqliteDatabase database) : database_(std::move(database)) {}

CachedStatement StatementCache::Take(const std::string& text) {
  auto found = slots_.find(text);
  if (found != slots_.end() && found->second->idle) {
    return CachedStatement(weak_from_this(), found->second.get(), std::move(found->second->idle));
  }
  auto statement = std::make_unique<SqlStatement>(database_, text);
  // Only a text that prepares gets a place, while there is room for one.
  if (found == slots_.end() && statement->IsPrepared() && slots_.size() < kMaxTexts) {
    found = slots_.emplace(text, std::make_unique<CachedStatement::Slot>()).first;
  }
  CachedStatement::Slot* slot = found == slots_.end() ? nullptr : found->second.get();
  return CachedStatement(weak_from_this(), slot, std::move(statement));
}

void StatementCache::GiveBack(CachedStatement::Slot& slot,
                              std::unique_ptr<SqlStatement> statement) noexcept {
  if (slot.idle || !statement->IsPrepared()) return;  // finalised by the caller
  statement->Reset();
  slot.idle = std::move(statement);
}

std::size_t StatementCache::IdleCount() const {
  std::size_t idle = 0;
  for (const auto& [text, slot] : slots_) idle += slot->idle ? 1 : 0;
  return idle;
}

}  // namespace Varnholt::KrdFiles::Index
