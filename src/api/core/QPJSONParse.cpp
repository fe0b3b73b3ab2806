#include "api/core/QPJSONParse.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace brivane {
namespace {

// The arena of one parsed answer: the parser's allocations are carved from a few large blocks
// and freed all at once with the arena, instead of one heap block per string, list and
// dictionary. Block sizes follow the body, so that at most one partly used block is wasted.
//
// Once sealed (after the parse), the arena hands out nothing more: later requests go to the
// default heap and are given back to it, so that a document changed afterwards neither grows
// the arena without bound nor needs a lock.
class AnswerArena final : public boost::json::memory_resource {
 public:
  // `self` receives the arena's address: the storage that owns it wraps it in another object.
  AnswerArena(std::size_t bodySize, AnswerArena** self) : blockSize_(blockSizeFor(bodySize)) { *self = this; }
  ~AnswerArena() override {
    for (const Block& block : blocks_) ::operator delete(block.begin);
  }
  AnswerArena(const AnswerArena&) = delete;
  AnswerArena& operator=(const AnswerArena&) = delete;

  void seal() { sealed_ = true; }

 private:
  struct Block {
    std::byte* begin;
    std::byte* end;
  };

  // Small answers fit one block; large ones use blocks of a quarter of the body.
  static std::size_t blockSizeFor(std::size_t bodySize) {
    constexpr std::size_t kSmall = 64 * 1024;
    return std::max(bodySize / 4, std::min(4 * bodySize, kSmall) + 1024);
  }

  // `align` is a power of two.
  static std::byte* aligned(std::byte* at, std::size_t align) {
    auto address = reinterpret_cast<std::uintptr_t>(at);
    return at + (((address + align - 1) & ~(align - 1)) - address);
  }

  // Blocks are kept in address order, so that `owns` is a binary search.
  std::byte* addBlock(std::size_t size) {
    if (blocks_.size() == blocks_.capacity()) blocks_.reserve(std::max<std::size_t>(8, 2 * blocks_.size()));
    auto* begin = static_cast<std::byte*>(::operator new(size));
    Block block{begin, begin + size};
    blocks_.insert(std::upper_bound(blocks_.begin(), blocks_.end(), block,
                                    [](const Block& a, const Block& b) { return a.begin < b.begin; }),
                   block);
    return begin;
  }

  bool owns(const void* p) const {
    const auto* at = static_cast<const std::byte*>(p);
    auto after =
        std::upper_bound(blocks_.begin(), blocks_.end(), at,
                         [](const std::byte* address, const Block& block) { return address < block.begin; });
    return after != blocks_.begin() && at < std::prev(after)->end;
  }

  static void* heapAllocate(std::size_t n, std::size_t align) {
    if (align <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) return ::operator new(n);
    return ::operator new(n, std::align_val_t(align));
  }
  static void heapDeallocate(void* p, std::size_t align) {
    if (align <= __STDCPP_DEFAULT_NEW_ALIGNMENT__)
      ::operator delete(p);
    else
      ::operator delete(p, std::align_val_t(align));
  }

  void* do_allocate(std::size_t n, std::size_t align) override {
    if (sealed_) {
      void* block = heapAllocate(n, align);
      heapBlocks_.fetch_add(1, std::memory_order_relaxed);
      return block;
    }
    if (next_ != nullptr) {
      std::byte* at = aligned(next_, align);
      if (at <= end_ && static_cast<std::size_t>(end_ - at) >= n) {
        next_ = at + n;
        return at;
      }
    }
    // A request larger than a block gets a block of its own; the current block stays current.
    const std::size_t needed = n + align;
    if (needed > blockSize_) return aligned(addBlock(needed), align);
    next_ = addBlock(blockSize_);
    end_ = next_ + blockSize_;
    std::byte* at = aligned(next_, align);
    next_ = at + n;
    return at;
  }

  void do_deallocate(void* p, std::size_t, std::size_t align) override {
    // The arena's own memory goes with the arena. Without heap blocks (a document nobody
    // copied or changed) there is nothing to look up.
    if (heapBlocks_.load(std::memory_order_acquire) == 0 || owns(p)) return;
    heapBlocks_.fetch_sub(1, std::memory_order_release);
    heapDeallocate(p, align);
  }

  bool do_is_equal(const boost::json::memory_resource& other) const noexcept override {
    return this == &other;
  }

  const std::size_t blockSize_;
  std::vector<Block> blocks_;
  std::byte* next_ = nullptr;
  std::byte* end_ = nullptr;
  bool sealed_ = false;
  // Blocks handed out from the default heap after the seal and not yet given back: a pointer
  // handed to another thread carries the count with it.
  std::atomic<std::size_t> heapBlocks_{0};
};

}  // namespace

std::optional<boost::json::value> parseJSON(std::string_view body, std::optional<QPError>* error) {
  AnswerArena* arena = nullptr;
  boost::json::storage_ptr storage = boost::json::make_shared_resource<AnswerArena>(body.size(), &arena);
  boost::system::error_code ec;
  boost::json::value value = boost::json::parse(body, ec, storage);
  arena->seal();
  if (!ec) return value;
  if (error != nullptr) {
    std::string text = body.empty() ? "The answer has no body to read as JSON."
                                    : "The answer is not valid JSON: " + ec.message() + ".";
    *error = QPError(std::string(QPErrorDomainJSON), ec.value(), std::move(text));
  }
  return std::nullopt;
}

}  // namespace brivane
