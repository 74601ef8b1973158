// The tables of keys, and what an inputrc says about them.
#include <algorithm>

#include "cli_editor/machine.hpp"

namespace cli_editor {

struct Machine::Tables {
  using M = Machine;

  static constexpr NameRow kNames[] = {
      {"abort", &M::do_nothing},
      {"accept-line", &M::accept_line},
      {"backward-char", &M::backward_char},
      {"backward-delete-char", &M::backward_delete_char},
      {"backward-kill-line", &M::line_discard},
      {"backward-kill-word", &M::backward_kill_word},
      {"backward-word", &M::backward_word},
      {"beginning-of-history", &M::beginning_of_history},
      {"beginning-of-line", &M::beginning_of_line},
      {"capitalize-word", &M::capitalize_word},
      {"character-search", &M::character_search},
      {"character-search-backward", &M::character_search_backward},
      {"clear-screen", &M::clear_screen},
      {"complete", &M::complete_word},
      {"delete-char", &M::delete_char_or_end},
      {"delete-horizontal-space", &M::delete_horizontal_space},
      {"digit-argument", &M::digit_argument},
      {"downcase-word", &M::downcase_word},
      {"edit-and-execute-command", &M::edit_in_editor},
      {"end-of-history", &M::end_of_history},
      {"end-of-line", &M::end_of_line},
      {"exchange-point-and-mark", &M::exchange_point_and_mark},
      {"forward-char", &M::forward_char},
      {"forward-search-history", &M::forward_search_history},
      {"forward-word", &M::forward_word},
      {"help", &M::help},
      {"history-search-backward", &M::history_search_backward},
      {"history-search-forward", &M::history_search_forward},
      {"insert-comment", &M::insert_comment},
      {"kill-line", &M::kill_line},
      {"kill-region", &M::kill_region},
      {"kill-whole-line", &M::kill_whole_line},
      {"kill-word", &M::kill_word},
      {"next-history", &M::next_history},
      {"overwrite-mode", &M::overwrite_mode},
      {"possible-completions", &M::list_choices},
      {"previous-history", &M::previous_history},
      {"quoted-insert", &M::quoted_insert},
      {"redraw-current-line", &M::clear_screen},
      {"reverse-search-history", &M::reverse_search_history},
      {"revert-line", &M::revert_line},
      {"self-insert", &M::self_insert},
      {"set-mark", &M::set_mark},
      {"transpose-chars", &M::transpose_chars},
      {"transpose-words", &M::transpose_words},
      {"undo", &M::undo},
      {"unix-line-discard", &M::line_discard},
      {"unix-word-rubout", &M::word_rubout},
      {"upcase-word", &M::upcase_word},
      {"vi-movement-mode", &M::vi_movement_mode},
      {"yank", &M::yank},
      {"yank-last-arg", &M::yank_last_arg},
      {"yank-pop", &M::yank_pop},
  };

  // In emacs mode and in vi's insert mode.
  static constexpr KeyRow kCommon[] = {
      {"?", &M::help},
      {"\t", &M::complete_word},
      {"\r", &M::accept_line},
      {"\n", &M::accept_line},
      {"\x03", &M::abandon_line},
      {"\x04", &M::delete_char_or_end},
      {"\x1a", &M::suspend},
      {"\x01", &M::beginning_of_line},
      {"\x02", &M::backward_char},
      {"\x05", &M::end_of_line},
      {"\x06", &M::forward_char},
      {"\x07", &M::do_nothing},
      {"\x08", &M::backward_delete_char},
      {"\x7f", &M::backward_delete_char},
      {"\x0b", &M::kill_line},
      {"\x0c", &M::clear_screen},
      {"\x0e", &M::next_history},
      {"\x10", &M::previous_history},
      {"\x11", &M::quoted_insert},
      {"\x12", &M::reverse_search_history},
      {"\x13", &M::forward_search_history},
      {"\x14", &M::transpose_chars},
      {"\x15", &M::line_discard},
      {"\x16", &M::quoted_insert},
      {"\x17", &M::word_rubout},
      {"\x19", &M::yank},
      {"\x1d", &M::character_search},
      {"\x1f", &M::undo},
      {"\x18\x05", &M::edit_in_editor},
      {"\x18\x12", &M::revert_line},
      {"\x18\x15", &M::undo},
      {"\x18\x18", &M::exchange_point_and_mark},
      {"\033[A", &M::history_search_backward},
      {"\033[B", &M::history_search_forward},
      {"\033[C", &M::forward_char},
      {"\033[D", &M::backward_char},
      {"\033[H", &M::beginning_of_line},
      {"\033[F", &M::end_of_line},
      {"\033[2~", &M::overwrite_mode},
      {"\033[3~", &M::delete_char},
      {"\033[1;5C", &M::forward_word},
      {"\033[1;5D", &M::backward_word},
      {"\033[1;3C", &M::forward_word},
      {"\033[1;3D", &M::backward_word},
      {"\033[1;5A", &M::previous_history},
      {"\033[1;5B", &M::next_history},
      {"\033[3;5~", &M::kill_word},
      {"\033[3;3~", &M::kill_word},
  };

  static constexpr KeyRow kEmacs[] = {
      {std::string_view("\0", 1), &M::set_mark},
      {"\033b", &M::backward_word},
      {"\033f", &M::forward_word},
      {"\033d", &M::kill_word},
      {"\033\x7f", &M::backward_kill_word},
      {"\033\x08", &M::backward_kill_word},
      {"\033\x1d", &M::character_search_backward},
      {"\033y", &M::yank_pop},
      {"\033.", &M::yank_last_arg},
      {"\033_", &M::yank_last_arg},
      {"\033#", &M::insert_comment},
      {"\033<", &M::beginning_of_history},
      {"\033>", &M::end_of_history},
      {"\033p", &M::history_search_backward},
      {"\033n", &M::history_search_forward},
      {"\033r", &M::revert_line},
      {"\033t", &M::transpose_words},
      {"\033u", &M::upcase_word},
      {"\033l", &M::downcase_word},
      {"\033c", &M::capitalize_word},
      {"\033w", &M::kill_region},
      {"\033\\", &M::delete_horizontal_space},
      {"\033?", &M::list_choices},
      {"\0330", &M::digit_argument},
      {"\0331", &M::digit_argument},
      {"\0332", &M::digit_argument},
      {"\0333", &M::digit_argument},
      {"\0334", &M::digit_argument},
      {"\0335", &M::digit_argument},
      {"\0336", &M::digit_argument},
      {"\0337", &M::digit_argument},
      {"\0338", &M::digit_argument},
      {"\0339", &M::digit_argument},
  };

  // Motions stand in vi.cpp.
  static constexpr KeyRow kViCommand[] = {
      {"i", &M::vi_insert},
      {"a", &M::vi_append},
      {"I", &M::vi_insert_beginning},
      {"A", &M::vi_append_end},
      {"x", &M::vi_delete_char},
      {"\033[3~", &M::vi_delete_char},
      {"X", &M::vi_delete_before},
      {"s", &M::vi_substitute},
      {"S", &M::vi_change_line},
      {"C", &M::vi_change_end},
      {"D", &M::vi_delete_end},
      {"Y", &M::vi_yank_line},
      {"p", &M::vi_put},
      {"P", &M::vi_put_before},
      {"r", &M::vi_replace_char},
      {"R", &M::vi_overwrite},
      {"~", &M::vi_change_case},
      {"d", &M::vi_operator},
      {"c", &M::vi_operator},
      {"y", &M::vi_operator},
      {"u", &M::undo},
      {"U", &M::revert_line},
      {".", &M::vi_repeat},
      {"j", &M::next_history},
      {"+", &M::next_history},
      {"k", &M::previous_history},
      {"-", &M::previous_history},
      {"G", &M::beginning_of_history},
      {"/", &M::vi_search},
      {"?", &M::vi_search},
      {"n", &M::vi_search_again},
      {"N", &M::vi_search_again_back},
      {"_", &M::vi_last_arg},
      {"#", &M::insert_comment},
      {"=", &M::list_choices},
      {"\\", &M::complete_word},
      {"v", &M::edit_in_editor},
  };
};

namespace {

std::string_view trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

std::string lower(std::string_view text) {
  std::string result(text);
  for (char &c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
  return result;
}

bool is_equal(std::string_view a, std::string_view b) {
  return lower(a) == lower(b);
}

// The keys that send these bytes.
std::u32string keys_of(std::string_view bytes) {
  KeyDecoder decoder;
  decoder.feed(bytes);
  std::u32string keys;
  while (const std::optional<Key> key = decoder.next(true)) keys += key->code;
  return keys;
}

struct Named {
  std::string_view name;
  char byte;
};
constexpr Named kEscapes[] = {{"a", '\a'}, {"b", '\b'}, {"d", '\x7f'}, {"e", '\033'}, {"f", '\f'},
                              {"n", '\n'}, {"r", '\r'}, {"t", '\t'},   {"v", '\v'}};
constexpr Named kKeyNames[] = {{"del", '\x7f'},  {"rubout", '\x7f'}, {"esc", '\033'},   {"escape", '\033'},
                               {"return", '\r'}, {"ret", '\r'},      {"newline", '\n'}, {"lfd", '\n'},
                               {"space", ' '},   {"spc", ' '},       {"tab", '\t'}};

char with_ctrl(char c) {
  return c == '?' ? '\x7f' : static_cast<char>(c & 0x1f);
}

// The bytes of "\C-x\e[A" without its quotes.
std::string sequence_bytes(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    bool ctrl = false;
    for (;; text.remove_prefix(3)) {
      if (text.starts_with("\\M-")) {
        bytes += '\033';
      } else if (text.starts_with("\\C-")) {
        ctrl = true;
      } else {
        break;
      }
    }
    if (text.empty()) break;
    char c = text[0];
    text.remove_prefix(1);
    if (c == '\\' && !text.empty()) {
      c = text[0];
      text.remove_prefix(1);
      for (const Named &row : kEscapes)
        if (row.name[0] == c) {
          c = row.byte;
          break;
        }
    }
    bytes += ctrl ? with_ctrl(c) : c;
  }
  return bytes;
}

// The bytes of Meta-Control-x, or none.
std::string named_bytes(std::string_view name) {
  bool ctrl = false;
  std::string bytes;
  for (size_t dash; (dash = name.find('-')) != std::string_view::npos && dash + 1 < name.size();) {
    const std::string modifier = lower(name.substr(0, dash));
    if (modifier == "control" || modifier == "c") {
      ctrl = true;
    } else if (modifier == "meta" || modifier == "m") {
      bytes = '\033';
    } else {
      return {};
    }
    name.remove_prefix(dash + 1);
  }
  char byte = name.size() == 1 ? name[0] : '\0';
  for (const Named &row : kKeyNames)
    if (is_equal(row.name, name)) byte = row.byte;
  if (byte == '\0') return {};
  return bytes + (ctrl ? with_ctrl(byte) : byte);
}

struct BindingText {
  std::string bytes;
  std::string_view function;
};

BindingText binding_of(std::string_view line) {
  size_t end = 0;
  BindingText binding;
  if (line.starts_with('"')) {
    for (end = 1; end < line.size() && line[end] != '"';) end += line[end] == '\\' ? 2 : 1;
    if (end >= line.size()) return {};
    binding.bytes = sequence_bytes(line.substr(1, end - 1));
    end = line.find(':', end);
  } else {
    end = line.find(':');
    binding.bytes = named_bytes(trimmed(line.substr(0, end)));
  }
  if (end != std::string_view::npos) binding.function = trimmed(line.substr(end + 1));
  return binding;
}

}  // namespace

Machine::Machine(Options options)
    : options_(std::move(options)),
      line_(options_.width, options_.longest_line),
      history_(options_.history_lines),
      screen_(options_.width, options_.sequences, options_.colours) {
  for (const KeyRow &row : Tables::kCommon) {
    emacs_[keys_of(row.bytes)] = row.function;
    vi_insert_keys_[keys_of(row.bytes)] = row.function;
  }
  for (const KeyRow &row : Tables::kEmacs) emacs_[keys_of(row.bytes)] = row.function;
  for (const KeyRow &row : Tables::kViCommand) vi_command_keys_[keys_of(row.bytes)] = row.function;
  vi_insert_keys_[keys_of("\033")] = &Machine::vi_movement_mode;
}

void Machine::configure(std::string_view inputrc) {
  Bindings *keys = vi_ ? &vi_insert_keys_ : &emacs_;
  std::vector<bool> conditions;  // of the $if that are open
  while (!inputrc.empty()) {
    const std::string_view line = trimmed(inputrc.substr(0, inputrc.find('\n')));
    inputrc.remove_prefix(std::min(
        inputrc.size(), inputrc.find('\n') == std::string_view::npos ? inputrc.size() : inputrc.find('\n') + 1));
    if (line.starts_with("$if")) {
      conditions.push_back(is_equal(trimmed(line.substr(3)), vi_ ? "mode=vi" : "mode=emacs"));
    } else if (line.starts_with("$else") && !conditions.empty()) {
      conditions.back() = !conditions.back();
    } else if (line.starts_with("$endif") && !conditions.empty()) {
      conditions.pop_back();
    }
    const bool holds = std::find(conditions.begin(), conditions.end(), false) == conditions.end();
    if (!holds || line.empty() || line[0] == '#' || line[0] == '$') continue;
    if (line.starts_with("set ")) {
      const std::string_view setting = trimmed(line.substr(4));
      const std::string name = lower(setting.substr(0, setting.find_first_of(" \t")));
      const std::string value = lower(trimmed(setting.substr(name.size())));
      if (name == "editing-mode" && (value == "vi" || value == "emacs")) {
        vi_ = value == "vi";
        keys = vi_ ? &vi_insert_keys_ : &emacs_;
      } else if (name == "bell-style") {
        bell_style_ = value == "none"      ? BellStyle::kNone
                      : value == "visible" ? BellStyle::kVisible
                                           : BellStyle::kAudible;
      } else if (name == "completion-ignore-case") {
        ignores_case_ = value == "on" || value == "1";
      } else if (name == "keymap") {
        keys = value == "vi-insert"                                           ? &vi_insert_keys_
               : value == "vi" || value == "vi-command" || value == "vi-move" ? &vi_command_keys_
                                                                              : &emacs_;
      }
      continue;
    }
    const BindingText binding = binding_of(line);
    const std::u32string bound = keys_of(binding.bytes);
    for (const NameRow &row : Tables::kNames)
      if (!bound.empty() && is_equal(row.name, binding.function)) (*keys)[bound] = row.function;
  }
}

}  // namespace cli_editor
