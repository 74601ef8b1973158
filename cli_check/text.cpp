#include "cli_check/text.hpp"

#include <algorithm>

namespace cli_check {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kLongContainer = 1024;  // bytes; what is shorter is quickly passed over again

}  // namespace

std::string_view in_words(json_type type) {
  static constexpr std::string_view kWords[] = {"an object",     "an array", "a string", "an integer",
                                                "a real number", "true",     "false",    "null"};
  return kWords[type];
}

// ---- The text ----

Text::Text(std::string file, std::string bytes) : file_(std::move(file)), bytes_(std::move(bytes)), lines_{0} {
  for (std::size_t end = bytes_.find('\n'); end != std::string::npos; end = bytes_.find('\n', end + 1)) {
    lines_.push_back(end + 1);
  }
}

Place Text::place(std::size_t offset) const {
  const auto next = std::upper_bound(lines_.begin(), lines_.end(), offset);
  return {static_cast<uint32_t>(next - lines_.begin()), static_cast<uint32_t>(offset - *std::prev(next) + 1)};
}

Part Text::part_at(const Place &place) const {
  if (place.line < 1 || place.line > lines_.size() || place.column < 1) {
    return root();
  }
  const std::size_t offset = lines_[place.line - 1] + place.column - 1;
  if (byte(offset) == '"' && byte(skip_blanks(end_of_string(offset))) == ':') {
    return {this, behind_key(offset)};
  }
  return {this, offset};
}

std::size_t Text::skip_blanks(std::size_t at) const {
  return std::min(bytes_.find_first_not_of(kBlanks, at), bytes_.size());
}

std::size_t Text::end_of_string(std::size_t at) const {
  for (++at; at < bytes_.size() && bytes_[at] != '"'; ++at) {
    at += bytes_[at] == '\\' ? 1 : 0;
  }
  return std::min(at + 1, bytes_.size());
}

std::size_t Text::end_of_container(std::size_t at) const {
  std::vector<std::size_t> open;
  do {
    const char c = bytes_[at];
    if (c == '{' || c == '[') {
      if (const auto known = ends_.find(at); known != ends_.end()) {
        at = known->second;
        continue;
      }
      open.push_back(at);
    } else if (c == '}' || c == ']') {
      if (at - open.back() > kLongContainer) {
        ends_.emplace(open.back(), at + 1);
      }
      open.pop_back();
    }
    at = c == '"' ? end_of_string(at) : at + 1;
  } while (!open.empty() && at < bytes_.size());
  return at;
}

std::size_t Text::end_of(std::size_t value) const {
  switch (byte(value)) {
    case '"':
      return end_of_string(value);
    case '{':
    case '[':
      return end_of_container(value);
    default:
      return std::min(bytes_.find_first_of(",]} \t\r\n", value), bytes_.size());
  }
}

std::size_t Text::behind_key(std::size_t key) const {
  return skip_blanks(skip_blanks(end_of_string(key)) + 1);
}

std::string_view Text::between(std::size_t start, std::size_t end) const {
  return start > bytes_.size() ? "" : std::string_view(bytes_).substr(start, end - start);
}

// ---- Its parts ----

json_type Part::type() const {
  switch (text_ == nullptr ? '\0' : text_->byte(offset_)) {
    case '{':
      return JSON_OBJECT;
    case '[':
      return JSON_ARRAY;
    case '"':
      return JSON_STRING;
    case 't':
      return JSON_TRUE;
    case 'f':
      return JSON_FALSE;
    case 'n':
    case '\0':
      return JSON_NULL;
    default:
      return text_->between(offset_, text_->end_of(offset_)).find_first_of(".eE") == std::string_view::npos
                 ? JSON_INTEGER
                 : JSON_REAL;
  }
}

std::vector<Entry> Part::members() const {
  std::vector<Entry> found;
  if (!is(JSON_OBJECT)) {
    return found;
  }
  for (std::size_t at = text_->skip_blanks(offset_ + 1); text_->byte(at) == '"';) {
    const Part key(text_, at);
    const Part value(text_, text_->behind_key(at));
    found.push_back({key.string(), key, value});
    at = text_->skip_blanks(text_->end_of(value.offset_));
    at = text_->byte(at) == ',' ? text_->skip_blanks(at + 1) : at;
  }
  return found;
}

std::vector<Part> Part::items() const {
  std::vector<Part> found;
  if (!is(JSON_ARRAY)) {
    return found;
  }
  for (std::size_t at = text_->skip_blanks(offset_ + 1); text_->byte(at) != ']' && text_->byte(at) != '\0';) {
    found.emplace_back(text_, at);
    at = text_->skip_blanks(text_->end_of(at));
    if (text_->byte(at) != ',') {
      break;
    }
    at = text_->skip_blanks(at + 1);
  }
  return found;
}

Part Part::find(std::string_view name) const {
  for (const Entry &entry : members()) {
    if (entry.name == name) {
      return entry.value;
    }
  }
  return {};
}

std::string Part::string() const {
  if (!is(JSON_STRING)) {
    return "";
  }
  const std::string_view written = text_->between(offset_, text_->end_of(offset_));
  if (written.size() >= 2 && written.find('\\') == std::string_view::npos) {
    return std::string(written.substr(1, written.size() - 2));
  }
  const JsonRef value(json_loadb(written.data(), written.size(), JSON_DECODE_ANY, nullptr));
  return {json_string_value(value.get()) == nullptr ? "" : json_string_value(value.get()),
          json_string_length(value.get())};
}

json_int_t Part::integer() const {
  if (!is(JSON_INTEGER)) {
    return 0;
  }
  const std::string_view digits = text_->between(offset_, text_->end_of(offset_));
  const JsonRef value(json_loadb(digits.data(), digits.size(), JSON_DECODE_ANY, nullptr));
  return json_integer_value(value.get());
}

Part Part::at(std::string_view name) const {
  const Part found = find(name);
  return found ? found : *this;
}

Part Part::at(std::size_t index) const {
  const std::vector<Part> all = items();
  return index < all.size() ? all[index] : *this;
}

Place Part::place() const {
  return text_ == nullptr ? Place() : text_->place(offset_);
}

}  // namespace cli_check
