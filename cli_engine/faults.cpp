#include "cli_engine/faults.hpp"

#include <algorithm>

#include "cli_engine/node.hpp"
#include "cli_engine/text_document.hpp"
#include "libglobal/resembling.hpp"

namespace cli_engine {
namespace {

constexpr std::size_t kLongestShown = 100;

std::string_view bare(std::string_view name) {
  return name.starts_with('#') ? name.substr(1) : name;
}

}  // namespace

void Faults::add(Source source, std::int32_t severity, std::uint32_t offset, const char *rule, const char *path,
                 const char *text) {
  errors_ += severity == CLI_ERROR ? 1U : 0U;
  if (report_ == nullptr) {
    return;
  }
  const Document &document = documents_[static_cast<std::size_t>(source)];
  cli_fault fault{severity, document.file, 0, 0, path, rule, text};
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
  faults_->add(source_, severity_, offset, rule, dyn_string_text(path.get()), dyn_string_text(&text));
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

void append_suggestion(DynString &out, std::string_view meant) {
  libglobal::append(out, "; did you mean ");
  append_quoted(out, meant);
  libglobal::append(out, '?');
}

// "unsigned" means "unsignedInt", "ipv4address" means "IPv4Address", "integer" means "int": a beginning counts too.
std::string_view resembled_type(std::string_view name, std::span<const std::string_view> known) {
  constexpr std::size_t kTellingBeginning = 3;
  constexpr std::size_t kLongestEnding = 4;  // of "integer"; a host's "InterfaceName" is another word
  std::string_view begun;
  for (const std::string_view other : known) {
    if (same_name(other, name)) {
      return other;
    }
    const bool is_begun =
        begins_with(other, name) || (begins_with(name, other) && name.size() <= other.size() + kLongestEnding);
    if (begun.empty() && is_begun && name.size() >= kTellingBeginning && other.size() >= kTellingBeginning) {
      begun = other;
    }
  }
  const auto near = std::find_if(known.begin(), known.end(),
                                 [&](std::string_view other) { return libglobal::resembles(name, other); });
  return near == known.end() ? begun : *near;
}

const MemberRow *resembled_member(std::string_view name, std::span<const MemberRow> known) {
  const auto near = std::find_if(known.begin(), known.end(), [&](const MemberRow &row) {
    return libglobal::resembles(bare(name), bare(row.name));
  });
  return near == known.end() ? nullptr : &*near;
}

}  // namespace cli_engine
