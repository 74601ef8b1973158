#include "cli_check/text.hpp"

#include <algorithm>

namespace cli_check {

// ---- The text ----

Text::Text(std::string file, std::string bytes) : file_(std::move(file)), bytes_(std::move(bytes)), lines_{0} {
  const std::size_t size = bytes_.size();
  for (std::size_t end = bytes_.find('\n'); end != std::string::npos; end = bytes_.find('\n', end + 1)) {
    lines_.push_back(end + 1);
  }
  bytes_.resize(size + cli_engine::kPadding);
  cli_engine::Vector<uint32_t> repeated;
  cli_engine::ReadFault fault{};
  if (!cli_engine::read_text(bytes_.data(), size, true, items_, repeated, fault)) {
    items_.clear();
  }
}

Part Text::root() const {
  return items_.empty() ? Part() : Part(this, Value(items_.data(), bytes_.data()));
}

Place Text::place(std::size_t offset) const {
  const auto next = std::upper_bound(lines_.begin(), lines_.end(), offset);
  return {static_cast<uint32_t>(next - lines_.begin()), static_cast<uint32_t>(offset - *std::prev(next) + 1)};
}

Part Text::part_at(const Place &place) const {
  const std::size_t offset = lines_[std::min<std::size_t>(place.line, lines_.size()) - 1] + place.column - 1;
  const auto found =
      std::lower_bound(items_.begin(), items_.end(), offset,
                       [](const cli_engine::TextItem &item, std::size_t at) { return item.offset < at; });
  const auto behind_key = items_.end() - found > 1 && found->shape == static_cast<uint32_t>(Shape::kString) ? 1 : 0;
  return found == items_.end() ? root() : Part(this, Value(&*found + behind_key, bytes_.data()));
}

// ---- Its parts ----

Place Part::place() const {
  return is_given() ? text_->place(item()->offset) : Place();
}

std::vector<Entry> Part::members() const {
  std::vector<Entry> found;
  for_each_member([&](const cli_engine::Member &member) {
    const Part value(text_, member.value);
    const auto *const text = member.name - 1 - member.name_item->offset;
    found.push_back({member.name, Part(text_, Value(member.name_item, text)), value});
  });
  return found;
}

std::vector<Part> Part::parts() const {
  std::vector<Part> found;
  for_each_item([&](std::size_t, const Value &item) { found.emplace_back(text_, item); });
  return found;
}

Part Part::at(const char *name) const {
  const Part found = find(name);
  return found ? found : *this;
}

Part Part::at(std::size_t index) const {
  const std::vector<Part> all = parts();
  return index < all.size() ? all[index] : *this;
}

}  // namespace cli_check
