#include "brivane/json_output.h"

#include <charconv>
#include <cmath>

#include <boost/json/serialize.hpp>

namespace brivane::cli {
namespace {

void print(const boost::json::value& value, std::string& out) {
  switch (value.kind()) {
    case boost::json::kind::double_: {
      const double number = value.get_double();
      if (!std::isfinite(number)) {
        out += "null";
        return;
      }
      char buffer[32];
      auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number);
      out.append(buffer, error == std::errc() ? end : buffer);
      return;
    }
    case boost::json::kind::array: {
      out += '[';
      bool first = true;
      for (const boost::json::value& element : value.get_array()) {
        if (!first) out += ',';
        first = false;
        print(element, out);
      }
      out += ']';
      return;
    }
    case boost::json::kind::object: {
      out += '{';
      bool first = true;
      for (const auto& member : value.get_object()) {
        if (!first) out += ',';
        first = false;
        out += boost::json::serialize(boost::json::string(member.key()));
        out += ':';
        print(member.value(), out);
      }
      out += '}';
      return;
    }
    default:
      out += boost::json::serialize(value);
  }
}

}  // namespace

std::string printedJSON(const boost::json::value& value) {
  std::string out;
  print(value, out);
  return out;
}

}  // namespace brivane::cli
