#include "cli_engine/faults.hpp"

#include <algorithm>
#include <array>

#include "cli_engine/node.hpp"
#include "cli_engine/text_document.hpp"

namespace cli_engine {
namespace {

constexpr std::size_t kLongestShown = 100;
constexpr std::size_t kLongestResembled = 32;

std::string_view bare(std::string_view name) {
  return name.starts_with('#') ? name.substr(1) : name;
}

// Insertions, removals, replacements and swaps of neighbours that lead from one name to the other. Both are short.
std::size_t distance(std::string_view a, std::string_view b) {
  using Row = std::array<std::size_t, kLongestResembled + 1>;
  std::array<Row, kLongestResembled + 1> steps{};
  for (std::size_t i = 0; i <= a.size(); i++) {
    for (std::size_t j = 0; j <= b.size(); j++) {
      if (i == 0 || j == 0) {
        steps.at(i).at(j) = i + j;
        continue;
      }
      std::size_t fewest = steps.at(i - 1).at(j - 1) + (fold(a[i - 1]) == fold(b[j - 1]) ? 0U : 1U);
      fewest = std::min({fewest, steps.at(i - 1).at(j) + 1, steps.at(i).at(j - 1) + 1});
      if (i > 1 && j > 1 && fold(a[i - 1]) == fold(b[j - 2]) && fold(a[i - 2]) == fold(b[j - 1])) {
        fewest = std::min(fewest, steps.at(i - 2).at(j - 2) + 1);
      }
      steps.at(i).at(j) = fewest;
    }
  }
  return steps.at(a.size()).at(b.size());
}

// Short names are near to too many others.
bool resembles(std::string_view name, std::string_view known) {
  if (name.size() > kLongestResembled || known.size() > kLongestResembled) {
    return false;
  }
  const std::size_t allowed = known.size() >= 6 ? 2 : known.size() >= 5 ? 1 : 0;
  return distance(name, known) <= allowed;
}

}  // namespace

void Faults::add(Source source, std::uint32_t offset, const char *rule, const char *path, const char *text) {
  errors_++;
  if (report_ == nullptr) {
    return;
  }
  const Document &document = documents_[static_cast<std::size_t>(source)];
  cli_fault fault{CLI_ERROR, document.file, 0, 0, path, rule, text};
  if (document.text != nullptr && offset != kNoOffset) {
    document.text->find_line(offset, fault.line, fault.column);
  }
  report_(data_, &fault);
}

namespace {

void append_path(DynString &out, const Frame &frame) {
  if (frame.outer != nullptr) {
    append_path(out, *frame.outer);
    libglobal::append(out, " / ");
  }
  if (frame.key != nullptr) {
    libglobal::append(out, frame.key);
  } else {
    dyn_string_appendf(&out, "#args[%zu]", frame.index);
  }
}

void append_word(DynString &out, const char *name, std::size_t start) {
  if (name != nullptr && *name != '\0') {
    libglobal::append_all(out, out.len == start ? "" : " ", name);
  }
}

void append_words(DynString &out, const cli_node *node, std::size_t start) {
  if (node != nullptr) {
    append_words(out, node->parent, start);
    append_word(out, node->name, start);
  }
}

void append_arguments(DynString &out, const Frame &frame, std::size_t start) {
  if (frame.key == nullptr) {
    append_arguments(out, *frame.outer, start);
    append_word(out, frame.name, start);
  }
}

// The place in words: "configure interface", argument "name".
void append_place(DynString &out, const Frame &frame) {
  const libglobal::DynStringOwner words(dyn_string_new());
  const Frame *definition = &frame;
  while (definition->key == nullptr) {
    definition = definition->outer;
  }
  append_words(*words, definition->parent, 0);
  append_word(*words, definition->name, 0);
  append_quoted(out, libglobal::view(*words));
  if (frame.key == nullptr) {
    libglobal::clear(*words);
    append_arguments(*words, frame, 0);
    libglobal::append(out, words->len == 0 ? ", a group" : ", argument ");
    if (words->len > 0) {
      append_quoted(out, libglobal::view(*words));
    }
  }
}

}  // namespace

DynString *Reporter::begin() const {
  libglobal::DynStringOwner text(dyn_string_new());
  if (frame_ != nullptr) {
    append_place(*text, *frame_);
    libglobal::append(*text, ": ");
  }
  return text.release();
}

void Reporter::finish(std::uint32_t offset, const char *rule, const DynString &text) const {
  const libglobal::DynStringOwner path(dyn_string_new());
  if (frame_ != nullptr) {
    append_path(*path, *frame_);
  }
  faults_->add(source_, offset, rule, dyn_string_text(path.get()), dyn_string_text(&text));
}

void Reporter::put(DynString &out, std::string_view text) {
  libglobal::append(out, text);
}
void Reporter::put(DynString &out, const Quoted &quoted) {
  append_quoted(out, quoted.text);
}
void Reporter::put(DynString &out, std::int64_t number) {
  dyn_string_appendf(&out, "%lld", static_cast<long long>(number));
}

void append_quoted(DynString &out, std::string_view text) {
  const std::size_t start = out.len;
  libglobal::append(out, '"');
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (out.len - start > kLongestShown && (byte & 0xC0U) != 0x80U) {
      libglobal::append(out, "...");
      break;
    }
    if (byte < 0x20 || byte == 0x7F) {
      dyn_string_appendf(&out, "\\x%02x", static_cast<unsigned>(byte));
    } else {
      libglobal::append(out, c);
    }
  }
  libglobal::append(out, '"');
}

// "unsigned" means "unsignedInt", "ipv4address" means "IPv4Address": a beginning that only one name has counts too.
std::string_view resembled_type(std::string_view name, std::span<const std::string_view> known) {
  constexpr std::size_t kTellingBeginning = 3;
  std::string_view begun;
  std::size_t beginnings = 0;
  for (const std::string_view other : known) {
    if (same_name(other, name)) {
      return other;
    }
    if (name.size() >= kTellingBeginning && begins_with(other, name)) {
      begun = other;
      beginnings++;
    }
  }
  if (beginnings == 1) {
    return begun;
  }
  const auto near =
      std::find_if(known.begin(), known.end(), [&](std::string_view other) { return resembles(name, other); });
  return near == known.end() ? std::string_view{} : *near;
}

const MemberRow *resembled_member(std::string_view name, std::span<const MemberRow> known) {
  const auto near = std::find_if(known.begin(), known.end(),
                                 [&](const MemberRow &row) { return resembles(bare(name), bare(row.name)); });
  return near == known.end() ? nullptr : &*near;
}

}  // namespace cli_engine
