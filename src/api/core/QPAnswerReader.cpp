#include "api/core/QPAnswerReader.h"

#include <array>
#include <cstdint>
#include <string>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/value_stack.hpp>

#include "api/core/QPFields.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane::detail {
namespace {

using Table = QPFieldList<QPResponseBase>;

// The parser's events, turned into one finished value at a time: the value of each top-level
// key, or each element of a top-level list of models. A value is built in a small reusable
// arena, handed to the table and dropped before the next one starts; what the fields keep they
// copy. Anything this reading cannot take the way the document would (the top level not a
// dictionary, a table key given twice) stops the parse with `declined` set.
class Filler {
 public:
  static constexpr std::size_t max_object_size = boost::json::object::max_size();
  static constexpr std::size_t max_array_size = boost::json::array::max_size();
  static constexpr std::size_t max_key_size = boost::json::string::max_size();
  static constexpr std::size_t max_string_size = boost::json::string::max_size();

  Filler(QPResponseBase& response, const Table& table, std::string_view body)
      : response_(response),
        table_(table),
        body_(body),
        arena_(buffer_.data(), buffer_.size()),
        stack_(boost::json::storage_ptr(), stackBuffer_.data(), stackBuffer_.size()) {}

  bool declined = false;

  bool on_document_begin(boost::system::error_code&) { return true; }
  bool on_document_end(boost::system::error_code&) { return true; }

  bool on_object_begin(boost::system::error_code&) {
    if (depth_++ == 0) return true;  // the answer's dictionary
    start();
    return true;
  }
  bool on_object_end(std::size_t n, boost::system::error_code&) {
    if (--depth_ == 0) return true;
    stack_.push_object(n);
    return finished();
  }
  bool on_array_begin(boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    if (depth_++ == 1 && entry_ != nullptr && entry_->openList) {
      list_ = entry_->openList(response_);
      return true;
    }
    start();
    return true;
  }
  bool on_array_end(std::size_t n, boost::system::error_code&) {
    if (--depth_ == 1 && list_) {
      list_->finish();
      list_.reset();
      key_.clear();
      return true;
    }
    stack_.push_array(n);
    return finished();
  }
  bool on_key_part(boost::json::string_view s, std::size_t, boost::system::error_code&) {
    if (depth_ == 1) {
      key_.append(s.data(), s.size());
    } else {
      stack_.push_chars(s);
    }
    return true;
  }
  bool on_key(boost::json::string_view s, std::size_t, boost::system::error_code& ec) {
    if (depth_ > 1) {
      stack_.push_key(s);
      return true;
    }
    // A key read in one piece from the body is used where it is; one in pieces or unescaped
    // into the parser's buffer is kept until its value has been read.
    if (key_.empty() && s.data() >= body_.data() && s.data() + s.size() <= body_.data() + body_.size()) {
      keyView_ = std::string_view(s.data(), s.size());
    } else {
      key_.append(s.data(), s.size());
      keyView_ = key_;
    }
    entry_ = table_.findKey(keyView_, &next_);
    if (entry_ == nullptr) return true;
    // A key given twice leaves the document one value of it: read again the usual way.
    const auto index = static_cast<std::size_t>(entry_ - table_.entries().data());
    if (index >= 64 * seen_.size()) return decline(ec);
    std::uint64_t& word = seen_[index / 64];
    const std::uint64_t bit = std::uint64_t{1} << (index % 64);
    if ((word & bit) != 0) return decline(ec);
    word |= bit;
    return true;
  }
  bool on_string_part(boost::json::string_view s, std::size_t, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_chars(s);
    return true;
  }
  bool on_string(boost::json::string_view s, std::size_t, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_string(s);
    return finished();
  }
  bool on_number_part(boost::json::string_view, boost::system::error_code&) { return true; }
  bool on_int64(std::int64_t i, boost::json::string_view, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_int64(i);
    return finished();
  }
  bool on_uint64(std::uint64_t u, boost::json::string_view, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_uint64(u);
    return finished();
  }
  bool on_double(double d, boost::json::string_view, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_double(d);
    return finished();
  }
  bool on_bool(bool b, boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_bool(b);
    return finished();
  }
  bool on_null(boost::system::error_code& ec) {
    if (depth_ == 0) return decline(ec);
    start();
    stack_.push_null();
    return finished();
  }
  bool on_comment_part(boost::json::string_view, boost::system::error_code&) { return true; }
  bool on_comment(boost::json::string_view, boost::system::error_code&) { return true; }

 private:
  bool decline(boost::system::error_code& ec) {
    declined = true;
    ec = boost::json::error::syntax;
    return false;
  }

  // A value begins (or goes on): the stack is set up at its first event.
  void start() {
    if (building_) return;
    stack_.reset(boost::json::storage_ptr(&arena_));
    building_ = true;
  }

  // After a scalar or a container's end: when that finished a key's value (or a list's element),
  // it goes to its field and its memory is reused.
  bool finished() {
    if (depth_ != (list_ ? 2 : 1)) return true;
    {
      boost::json::value value = stack_.release();
      building_ = false;
      if (list_) {
        list_->element(value);
      } else {
        fields::fillKey<QPResponseBase>(response_, entry_, keyView_, value, QPFillRule::SkipFailures,
                                        "QPResponseBase");
        key_.clear();
      }
    }
    arena_.release();
    return true;
  }

  QPResponseBase& response_;
  const Table& table_;
  const std::string_view body_;
  std::array<unsigned char, 4096> buffer_;       // the values' first memory
  std::array<unsigned char, 4096> stackBuffer_;  // the stack's, as Boost.JSON's own parse has
  boost::json::monotonic_resource arena_;
  boost::json::value_stack stack_;
  bool building_ = false;
  int depth_ = 0;
  std::string key_;  // a key met in pieces
  std::string_view keyView_;
  const Table::Entry* entry_ = nullptr;
  std::size_t next_ = 0;
  std::array<std::uint64_t, 4> seen_{};  // the table's keys met so far, by index
  std::unique_ptr<fields::ListFill> list_;
};

}  // namespace

bool readResponse(QPResponseBase& response, std::string_view body) {
  fields::LogSummary summary;
  try {
    boost::json::basic_parser<Filler> parser(boost::json::parse_options(), response, response.fieldList(),
                                             body);
    boost::system::error_code ec;
    const std::size_t used = parser.write_some(false, body.data(), body.size(), ec);
    if (!ec && used == body.size()) return true;
  } catch (const std::exception&) {
  }
  summary.discard();
  return false;
}

}  // namespace brivane::detail
