// Faults of a document: what a message is made of, and where it goes. Who loads for cli_init has no Faults: the first
// fault ends the process there.
#ifndef CLI_ENGINE_FAULTS_HPP
#define CLI_ENGINE_FAULTS_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "cli_engine/document.hpp"
#include "cli_engine/language.h"
#include "cli_engine/language_table.hpp"
#include "libglobal/dyn_string.hpp"

namespace cli_engine {

class TextDocument;

enum class Source : std::uint8_t { kDefinitions, kPrivileges };

inline constexpr std::uint32_t kNoOffset = UINT32_MAX;

// Hands faults to the host.
class Faults {
 public:
  Faults(cli_report report, void *data) : report_(report), data_(data) {}

  // A document's name, and its text to find lines in; each may be null.
  void set_document(Source source, const char *file, const TextDocument *text) {
    documents_[static_cast<std::size_t>(source)] = {file, text};
  }

  void add(Source source, std::int32_t severity, std::uint32_t offset, const char *rule, const char *path,
           const char *text);

  [[nodiscard]] std::size_t errors() const { return errors_; }

 private:
  struct Document {
    const char *file;
    const TextDocument *text;
  };

  cli_report report_;
  void *data_;
  Document documents_[2] = {};
  std::size_t errors_ = 0;
};

// The way down to what is being read: a definition, or an argument of what stands around it.
struct Frame {
  const Frame *outer;      // null for a definition of the document
  const char *key;         // a definition's; null for an argument, and the member of a privilege table is one too
  std::size_t index;       // an argument's
  const char *name;        // of the node; null for none
  const cli_node *parent;  // of a definition's node; null in a privilege table
};

// A piece of a message that is shown in quotes.
struct Quoted {
  std::string_view text;
};

// Makes messages about one place. Whoever finds faults is given one, or null: then they end the process.
class Reporter {
 public:
  Reporter(Faults *faults, Source source, const Frame *frame, std::int32_t severity = CLI_ERROR)
      : faults_(faults), source_(source), severity_(severity), frame_(frame) {}

  // A sentence of texts, Quoted ones and numbers about a value; about the whole place for nothing.
  template <class... Pieces>
  void add(const char *rule, const Value &blamed, const Pieces &...pieces) const {
    add_at(offset_of(blamed), rule, pieces...);
  }
  template <class... Pieces>
  void add_at(std::uint32_t offset, const char *rule, const Pieces &...pieces) const {
    const libglobal::DynStringOwner text(begin());
    (put(*text, pieces), ...);
    finish(offset, rule, *text);
  }

  [[nodiscard]] static std::uint32_t offset_of(const Value &value) {
    return value.is_given() && value.is_from_text() ? value.item()->offset : kNoOffset;
  }
  [[nodiscard]] std::size_t errors() const { return faults_->errors(); }

 private:
  [[nodiscard]] DynString *begin() const;
  void finish(std::uint32_t offset, const char *rule, const DynString &text) const;
  static void put(DynString &out, std::string_view text);
  static void put(DynString &out, const Quoted &quoted);
  static void put(DynString &out, std::int64_t number);

  Faults *faults_;
  Source source_;
  std::int32_t severity_;
  const Frame *frame_;
};

// A text of the document as a message shows it: in quotes, on one line, not longer than a line.
void append_quoted(DynString &out, std::string_view text);

// "; did you mean "meant"?"
void append_suggestion(DynString &out, std::string_view meant);
// The same with the word of a set that was misspelt, if there is one.
void suggest_word(const cli_node_set &choices, std::string_view word, DynString &out);

// The name among `known` that was misspelt, or nothing.
[[nodiscard]] std::string_view resembled_type(std::string_view name, std::span<const std::string_view> known);
[[nodiscard]] const MemberRow *resembled_member(std::string_view name, std::span<const MemberRow> known);

}  // namespace cli_engine

#endif
