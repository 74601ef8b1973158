#include "cli_shell/key_reader.hpp"

#include <unistd.h>

#include <cerrno>
#include <cwchar>
#include <string_view>

#include "cli_shell/wide_text.hpp"

namespace cli_shell {

namespace {

constexpr char kInterruptKey = '\3';
constexpr char kEscape = '\033';
constexpr std::string_view kPasteBegins = "[200~";  // behind the escape
constexpr std::string_view kPasteEnds = "\033[201~";

// Pasted bytes as text: line ends of any kind are newlines, other control bytes but tabs are left out, since no
// pasted byte may act as a key.
std::wstring pasted_text(std::string_view bytes) {
  std::wstring text;
  wchar_t last = 0;
  for (const wchar_t character : decode(bytes)) {
    const bool line_feed_of_crlf = character == L'\n' && last == L'\r';
    last = character;
    if (character == L'\r' || (character == L'\n' && !line_feed_of_crlf)) text += L'\n';
    if (character == L'\t' || (character >= L' ' && character != 0x7f)) text += character;
  }
  return text;
}

}  // namespace

void KeyReader::expect_pastes(int escape_timeout_ms) {
  pastes_ = true;
  escape_timeout_ms_ = escape_timeout_ms;
}

KeyReader::Event KeyReader::next(wchar_t &character) {
  if (in_paste_) return read_paste();
  char byte = 0;
  switch (read_byte(-1, byte)) {
    case Read::kByte:
      break;
    case Read::kEnd:
      return Event::kEnd;
    case Read::kSignal:
    case Read::kTimeout:
      return Event::kSignal;
  }
  if (byte == kEscape && pastes_) {
    switch (paste_begins()) {
      case Mark::kPresent:
        return read_paste();
      case Mark::kSignal:
        return Event::kSignal;
      case Mark::kAbsent:
        break;
    }
  }
  return next_character(byte, character);
}

// Bytes that are no character are passed over.
KeyReader::Event KeyReader::next_character(char first, wchar_t &character) {
  std::string bytes(1, first);
  for (;;) {
    std::mbstate_t state{};
    const size_t used = std::mbrtowc(&character, bytes.data(), bytes.size(), &state);
    const bool is_cut = used == static_cast<size_t>(-2);
    if (!is_cut && used != static_cast<size_t>(-1)) return Event::kCharacter;
    // The byte that breaks off a character may begin another.
    if (!is_cut) bytes.erase(0, bytes.size() > 1 ? bytes.size() - 1 : 1);
    if (!is_cut && !bytes.empty()) continue;

    char byte = 0;
    switch (read_byte(-1, byte)) {
      case Read::kByte:
        bytes += byte;
        break;
      case Read::kEnd:
        return Event::kEnd;
      case Read::kSignal:
      case Read::kTimeout:
        put_back(bytes);
        return Event::kSignal;
    }
  }
}

KeyReader::Read KeyReader::read_byte(int timeout_ms, char &byte) {
  if (!put_back_.empty()) {
    byte = put_back_.front();
    put_back_.erase(0, 1);
    return Read::kByte;
  }
  for (;;) {
    switch (signals_.wait_for_input(timeout_ms)) {
      case TerminalSignals::Wake::kTimeout:
        return Read::kTimeout;
      case TerminalSignals::Wake::kSignal:
        return Read::kSignal;
      case TerminalSignals::Wake::kInput:
        break;
    }
    // One byte at a time: what follows the line belongs to the command that the line starts.
    const ssize_t count = read(terminal_, &byte, 1);
    if (count == 1) return Read::kByte;
    if (count == 0 || (errno != EINTR && errno != EAGAIN)) return Read::kEnd;
  }
}

// Whether the escape just read begins a paste. If not, what was read ahead is put back.
KeyReader::Mark KeyReader::paste_begins() {
  std::string ahead;
  for (const char expected : kPasteBegins) {
    char byte = 0;
    const Read result = read_byte(escape_timeout_ms_, byte);
    if (result == Read::kSignal) {
      put_back(kEscape + ahead);
      return Mark::kSignal;
    }
    if (result != Read::kByte) break;
    ahead += byte;
    if (byte != expected) break;
  }
  in_paste_ = ahead == kPasteBegins;
  if (in_paste_) return Mark::kPresent;
  put_back(ahead);
  return Mark::kAbsent;
}

// Reads pasted text whole, before any of its lines runs: the terminal would echo what comes in while a command runs.
KeyReader::Event KeyReader::read_paste() {
  Event event = Event::kPaste;
  while (event == Event::kPaste && !paste_bytes_.ends_with(kPasteEnds)) {
    char byte = 0;
    const Read result = read_byte(-1, byte);
    if (result == Read::kSignal) return Event::kSignal;  // goes on when asked again
    if (result != Read::kByte) event = Event::kEnd;
    if (result == Read::kByte && byte == kInterruptKey) event = Event::kInterrupt;
    paste_bytes_ += byte;
  }
  if (event == Event::kPaste) {
    paste_bytes_.resize(paste_bytes_.size() - kPasteEnds.size());
    pasted_ += pasted_text(paste_bytes_);
  }
  in_paste_ = false;
  paste_bytes_.clear();
  return event;
}

void KeyReader::forget_pasted() {
  pasted_.clear();
  taken_ = 0;
}

KeyReader::PastedLine KeyReader::take_pasted_line() {
  const size_t newline = pasted_.find(L'\n', taken_);
  const bool ended = newline != std::wstring::npos;
  PastedLine line{pasted_.substr(taken_, ended ? newline - taken_ : newline), ended};
  taken_ = ended ? newline + 1 : pasted_.size();
  if (!has_pasted()) forget_pasted();
  return line;
}

bool KeyReader::interrupts_pasted() {
  while (has_pasted() && signals_.wait_for_input(0) == TerminalSignals::Wake::kInput) {
    char byte = 0;
    if (read(terminal_, &byte, 1) != 1) break;
    if (byte == kInterruptKey) {
      forget_pasted();
      put_back_.clear();
      return true;
    }
    put_back_ += byte;
  }
  return false;
}

}  // namespace cli_shell
