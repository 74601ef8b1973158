#include "cli_engine/tokenizer.hpp"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "libglobal/chain.hpp"
#include "libglobal/report.hpp"

namespace {

using cli_engine::first_token;
using cli_engine::next_token;

constexpr const char *kSource = "cli_engine/tokenizer";

// What a growth adds, so that slightly longer lines need no other one.
constexpr std::size_t kSpareBytes = 256;

static_assert(sizeof(token) == 8 + 4 * sizeof(void *), "the record is shared with hosts");

// What a byte can mean to the scan; an ordinary one is 0.
constexpr std::uint8_t kBlank = 1;
constexpr std::uint8_t kQuote = 2;
constexpr std::uint8_t kEscape = 4;

constexpr std::array<std::uint8_t, 256> kMeanings = [] {
  std::array<std::uint8_t, 256> meanings{};
  for (const char blank : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    meanings[static_cast<unsigned char>(blank)] = kBlank;
  }
  meanings['\''] = kQuote;
  meanings['"'] = kQuote;
  meanings['\\'] = kEscape;
  return meanings;
}();

constexpr std::uint8_t meaning(char c) {
  return kMeanings[static_cast<unsigned char>(c)];
}

// ---- Ordinary bytes, eight at a time ----

constexpr std::size_t kBlock = sizeof(std::uint64_t);

// The first byte, in memory order, of which the high bit is set; kBlock when there is none.
std::size_t first_marked(std::uint64_t marks) {
  if (marks == 0) {
    return kBlock;
  }
  return static_cast<std::size_t>(std::endian::native == std::endian::little ? std::countr_zero(marks)
                                                                             : std::countl_zero(marks)) /
         8;
}

// Copies a block and tells how many of its bytes, from the first one on, certainly mean nothing special. Everything
// that does is below '(' or a backslash. A borrow may mark an ordinary byte as well: that costs another look at it.
std::size_t copy_block(char *to, const char *from) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  std::uint64_t block = 0;
  std::memcpy(&block, from, kBlock);
  std::memcpy(to, &block, kBlock);
  const std::uint64_t no_backslash = block ^ ('\\' * kOnes);
  const std::uint64_t below = (block - '(' * kOnes) & ~block;
  const std::uint64_t backslashes = (no_backslash - kOnes) & ~no_backslash;
  return first_marked((below | backslashes) & (0x80 * kOnes));
}

// A line longer than this is unusual: the next one that is not gives its memory back, but for so many records.
constexpr std::uint32_t kKeptBytes = 16 * 1024;
constexpr std::size_t kKeptRecords = 1024;

// The bytes that end a run of ordinary text.
constexpr std::uint8_t kStopsOutside = kBlank | kQuote | kEscape;
constexpr std::uint8_t kStopsInQuotes = kQuote | kEscape;

token *token_alloc(tokenizer *t) {
  if (t->pool.first != nullptr) [[likely]] {
    return libglobal::take_first(t->pool);
  }
  return static_cast<token *>(libglobal::xcalloc(1, sizeof(token), LIBGLOBAL_CALLER(kSource)));
}

void token_release(token *tok) {
  tokenizer *const t = tok->tokenizer;
  *tok = {};
  libglobal::link_last(t->pool, tok);
}

void tokenizer_realloc(tokenizer *t, std::size_t size) {
  libglobal::require(size <= UINT32_MAX - kSpareBytes, "size <= UINT32_MAX - 256", kSource, __func__);
  t->capacity = static_cast<std::uint32_t>(size + kSpareBytes);
  t->buffer = static_cast<char *>(libglobal::xrealloc(t->buffer, t->capacity, LIBGLOBAL_CALLER(kSource)));
}

// Takes a line apart. The buffer is at least as large as the line and its NUL, which always suffices: quotes and
// backslashes are dropped, and each word's NUL takes the place of a separator.
class Scanner {
 public:
  explicit Scanner(tokenizer *t) : tokenizer_(t), word_(t->buffer), end_(t->buffer) {}

  // Goes on with the bytes from `at` to `stop`; a word, a quote or an escape may reach over from one call to the next.
  void scan(const char *at, const char *stop) {
    while (at != stop) {
      if (escaped_) {
        *end_++ = *at++;
        escaped_ = false;
      }
      at = copy_ordinary(at, stop);
      if (at != stop) {
        act_on(*at++);
      }
    }
  }

  // The user's cursor stands before the byte that is scanned next.
  void place_cursor() { cursor_ = static_cast<std::int32_t>(end_ - word_); }

  // A separator or the end of the line. A cursor that stands on a blank with no word before it stays for the next word.
  void end_word() {
    if (end_ == word_ && !quoted_) {
      return;
    }
    token *const tok = token_alloc(tokenizer_);
    tok->text = word_;
    tok->len = static_cast<std::uint32_t>(end_ - word_);
    tok->cursor = cursor_;
    tok->node = nullptr;
    tok->tokenizer = tokenizer_;
    libglobal::link_last(tokenizer_->tokens, tok);
    if (cursor_ >= 0) {
      tokenizer_->cursor_token = tok;
    }
    *end_++ = '\0';
    word_ = end_;
    cursor_ = -1;
    quoted_ = false;
  }

 private:
  const char *copy_ordinary(const char *at, const char *stop) {
    const std::uint8_t stops = quote_ == '\0' ? kStopsOutside : kStopsInQuotes;
    char *end = end_;
    while (static_cast<std::size_t>(stop - at) >= kBlock) {
      const std::size_t ordinary = copy_block(end, at);
      at += ordinary;
      end += ordinary;
      if (ordinary == kBlock) {
        continue;
      }
      if ((meaning(*at) & stops) != 0) {
        end_ = end;
        return at;
      }
      *end++ = *at++;
    }
    while (at != stop && (meaning(*at) & stops) == 0) {
      *end++ = *at++;
    }
    end_ = end;
    return at;
  }

  void act_on(char c) {
    switch (meaning(c)) {
      case kEscape:
        escaped_ = true;
        break;
      case kQuote:
        meet_quote(c);
        break;
      default:
        end_word();
    }
  }

  void meet_quote(char c) {
    if (quote_ == '\0') {
      quote_ = c;
      quoted_ = true;
    } else if (quote_ == c) {
      quote_ = '\0';
    } else {
      *end_++ = c;
    }
  }

  tokenizer *tokenizer_;
  char *word_;                // where the present word begins
  char *end_;                 // and ends
  std::int32_t cursor_ = -1;  // the cursor's offset in the present word
  bool quoted_ = false;       // a part of the present word was quoted: it counts although it may be empty
  bool escaped_ = false;      // a backslash stands before the next byte
  char quote_ = '\0';         // the quote that is open
};

// The texts from tok to the end of the walk.
std::size_t text_bytes(const token *tok) {
  std::size_t size = 0;
  for (; tok != nullptr; tok = next_token(tok)) {
    size += std::size_t{tok->len} + 1;
  }
  return size;
}

// The texts from tok to the end of the list, whether a walk goes that far or not.
std::size_t text_size(const token *tok) {
  std::size_t size = 0;
  for (; tok != nullptr; tok = tok->next) {
    size += std::size_t{tok->len} + 1;
  }
  return size;
}

// Lets the texts of the tokens from tok on follow each other from `text`.
void place_texts(token *tok, char *text) {
  for (; tok != nullptr; tok = tok->next) {
    tok->text = text;
    text += std::size_t{tok->len} + 1;
  }
}

void free_records(token *first) {
  for (token *tok = first; tok != nullptr;) {
    token *const next = tok->next;
    std::free(tok);
    tok = next;
  }
}

// Gives back what an unusually long line took.
void shrink(tokenizer *t) {
  token **link = &t->pool.first;
  for (std::size_t kept = 0; *link != nullptr && kept < kKeptRecords; kept++) {
    link = &(*link)->next;
  }
  free_records(*link);
  *link = nullptr;
  t->pool.last_link = link;
  std::free(t->buffer);
  t->buffer = nullptr;
  t->capacity = 0;
}

}  // namespace

namespace cli_engine {

void copy_tokens(tokenizer *t, const token *first, token_list &dst) {
  libglobal::make_empty(dst);
  if (first == nullptr || first->text == nullptr) {
    return;
  }
  const std::size_t size = text_bytes(first);
  auto *const block = static_cast<char *>(libglobal::xmemdup(first->text, size, LIBGLOBAL_CALLER(kSource)));
  for (const token *from = first; from != nullptr; from = next_token(from)) {
    token *const copy = token_alloc(t);
    *copy = *from;
    copy->text = block + (from->text - first->text);
    libglobal::link_last(dst, copy);
  }
}

}  // namespace cli_engine

void tokenizer_open(tokenizer *t) {
  *t = {};
  libglobal::make_empty(t->pool);
  libglobal::make_empty(t->tokens);
}

void tokenizer_run(tokenizer *t, const char *line, int cursor) {
  const std::size_t length = line == nullptr ? 0 : std::strlen(line);
  libglobal::join(t->pool, t->tokens);
  t->cursor_token = nullptr;
  if (t->capacity > kKeptBytes && length < kKeptBytes / 2) [[unlikely]] {
    shrink(t);
  }
  if (line != nullptr && t->capacity < length + 1) {
    tokenizer_realloc(t, length + 1);
  }
  if (line == nullptr) {
    return;
  }

  Scanner scanner(t);
  const char *at = line;
  const char *const end = line + length;
  if (cursor >= 0 && static_cast<std::size_t>(cursor) <= length) {
    scanner.scan(at, at + cursor);
    at += cursor;
    scanner.place_cursor();
  }
  scanner.scan(at, end);
  scanner.end_word();
}

void tokenizer_copy_list(tokenizer *t, token_list *dst) {
  cli_engine::copy_tokens(t, first_token(t), *dst);
}

void tokenizer_destroy_list(token_list *list) {
  if (list->first != nullptr) {
    std::free(list->first->text);
  }
  token *tok = list->first;
  for (std::size_t kept = 0; tok != nullptr && kept < kKeptRecords; kept++) {
    token *const next = tok->next;
    token_release(tok);
    tok = next;
  }
  free_records(tok);
  libglobal::make_empty(*list);
}

token *tokenizer_replace(tokenizer *t, token_list *replacement, token *old) {
  std::size_t prefix = 0;
  token **link = &t->tokens.first;  // leads to `old`, then to what takes its place
  for (; *link != old; link = &(*link)->next) {
    prefix += std::size_t{(*link)->len} + 1;
  }
  token *const after = old->next;
  const std::size_t rest = text_size(after);
  const std::size_t inserted = text_size(replacement->first);
  if (t->capacity < prefix + inserted + rest + 1) {
    tokenizer_realloc(t, prefix + inserted + rest + 1);  // moves the texts before `old` too
  }

  char *const gap = t->buffer + prefix;
  std::memmove(gap + inserted, gap + old->len + 1, rest);
  if (inserted != 0) {
    std::memcpy(gap, replacement->first->text, inserted);
  }

  token **end = link;
  for (const token *from = replacement->first; from != nullptr; from = from->next) {
    token *const copy = token_alloc(t);
    *copy = {nullptr, from->len, -1, nullptr, t, nullptr};
    *end = copy;
    end = &copy->next;
  }
  *end = after;
  if (after == nullptr) {
    t->tokens.last_link = end;
  }
  place_texts(t->tokens.first, t->buffer);

  if (t->cursor_token == old) {
    t->cursor_token = nullptr;
  }
  token_release(old);
  return *link;
}

void tokenizer_close(tokenizer *t) {
  free_records(t->tokens.first);
  free_records(t->pool.first);
  std::free(t->buffer);
  tokenizer_open(t);
}

token *tokenizer_first(tokenizer *t) {
  return first_token(t);
}

token *token_next(token *tok) {
  return next_token(tok);
}

size_t token_list_size(token *tok) {
  return text_bytes(tok);
}
