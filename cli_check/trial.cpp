#include "cli_check/trial.hpp"

#include <algorithm>
#include <utility>

#include "cli_check/rules.hpp"

namespace cli_check {

namespace {

// One of them is accepted by most values.
constexpr const char *kSamples[] = {
    "x", "1", "10.0.0.1", "10.0.0.0/8", "2001:db8::1", "2001:db8::/32", "10:00:00", "00:11:22:33:44:55", "example.org"};

bool append_argument(const cli_node &argument, const Wanted &wanted, Steps &steps) {
  if (argument.type == TYPE_VALUE) {
    const std::optional<std::string> text = sample_of(argument);
    steps.push_back({&argument, text.value_or("")});
    return text.has_value();
  }
  if (argument.type == TYPE_KEY) {
    steps.push_back({&argument, std::string(name_of(argument))});
  }
  const bool takes_one = argument.type == TYPE_CONTAINER && is_exclusive(argument);
  const std::size_t before = steps.size();
  for (const cli_node &member : args_of(argument)) {
    if (!wanted(member) && (takes_one || is_optional(member))) {
      continue;
    }
    if (!append_argument(member, wanted, steps)) {
      return false;
    }
    if (takes_one) {
      return true;
    }
  }
  // Of a group that is given something must be.
  const cli_node *first = cli_node_first_arg(&argument);
  return argument.type != TYPE_CONTAINER || steps.size() > before ||
         (first != nullptr && append_argument(*first, wanted, steps));
}

// Inside a mode what the line that entered it gave is given.
void give_arguments(cli_node *mode, uint8_t given) {
  for (; mode != nullptr; mode = cli_get_parent_subconfig(mode)) {
    if (cli_node *arg = cli_node_first_arg(mode); arg != nullptr) {
      arg->completed = given;
    }
  }
}

}  // namespace

bool is_below(const cli_node &node, const cli_node &top) {
  const cli_node *at = &node;
  while (at != nullptr && at != &top) {
    at = at->parent;
  }
  return at != nullptr;
}

std::optional<std::string> sample_of(const cli_node &value) {
  const validator &facets = value.value.validator;
  std::vector<std::string> texts(std::begin(kSamples), std::end(kSamples));
  if ((facets.flags & VALIDATOR_ENUM) != 0) {
    texts = {json_array_size(facets.enum_array) == 0 ? "" : entry_text(json_array_get(facets.enum_array, 0))};
  } else if ((facets.flags & VALIDATOR_BOUNDED) != 0) {
    const bool is_text = validator_get_basetype(&facets) == BASETYPE_STRING;
    texts.push_back(is_text ? std::string(std::min<std::size_t>(facets.min_length, 256), 'x')
                            : std::to_string(facets.min_inclusive));
  }
  const auto found = std::find_if(texts.begin(), texts.end(), [&](const std::string &text) {
    return !text.empty() && validator_match(&facets, text.c_str(), text.size()) != 0;
  });
  return found == texts.end() ? std::nullopt : std::optional(*found);
}

std::string accepted_beginning(const cli_node &value, std::string_view name) {
  for (std::size_t length = 1; length <= name.size(); ++length) {
    const std::string text(name.substr(0, length));
    if (validator_match(&value.value.validator, text.c_str(), length) != 0) {
      return text;
    }
  }
  return "";
}

std::optional<Steps> steps_of(const cli_node &word, const Wanted &wanted) {
  Steps steps;
  if (word.parent->type != TYPE_SUBCONFIG) {
    std::optional<Steps> outer = steps_of(*word.parent, [](const cli_node &) { return false; });
    if (!outer) {
      return outer;
    }
    steps = std::move(*outer);
  }
  steps.push_back({&word, std::string(name_of(word))});
  const cli_node *argument = cli_node_first_arg(&word);
  if (argument != nullptr && (!is_optional(*argument) || wanted(*argument)) &&
      !append_argument(*argument, wanted, steps)) {
    return std::nullopt;
  }
  return steps;
}

std::string line_of(const Steps &steps) {
  std::string line;
  for (const Step &step : steps) {
    line += (line.empty() ? "" : " ") + step.text;
  }
  return line;
}

std::optional<std::string> line_before(const cli_node &argument, const Wanted &wanted) {
  std::optional<Steps> steps =
      steps_of(owner_of(argument), [&](const cli_node &other) { return is_below(argument, other) || wanted(other); });
  if (!steps) {
    return std::nullopt;
  }
  steps->erase(std::find_if(steps->begin(), steps->end(), [&](const Step &step) { return step.node == &argument; }),
               steps->end());
  return line_of(*steps) + " ";
}

Typed::Typed(cli *engine, const cli_node &word, const std::string &line) {
  cli_node *mode = cli_get_parent_subconfig(const_cast<cli_node *>(&word));
  give_arguments(mode, 1);
  tokenizer_run(&engine->tokenizer, line.c_str(), -1);
  parser_set_root(&engine->parser, mode);
  parser_error error = {};
  end = parser_run(&engine->parser, &engine->tokenizer, &error);
  code = error.errcode;
  misfit = error.token == nullptr ? "" : std::string(error.token->text, error.token->len);
  for (const token *tok = engine->tokenizer.tokens.first; tok != nullptr && tok->node != nullptr; tok = tok->next) {
    taken.push_back(tok->node);
  }
  give_arguments(mode, 0);
}

}  // namespace cli_check
