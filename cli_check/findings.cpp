#include "cli_check/findings.hpp"

#include <algorithm>
#include <map>
#include <tuple>

namespace cli_check {

namespace {

// The sentence about a definition, without its place.
std::string sentence(const Finding &finding) {
  std::string text = finding.where + (finding.where.empty() ? "" : ": ") + finding.text;
  return finding.places == 1 ? text : text + " (in " + std::to_string(finding.places) + " places)";
}

std::string json_string_of(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out.append({'\\', c});
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string member(std::string_view name, std::string_view text) {
  return json_string_of(name) + ": " + json_string_of(text);
}

// In an annotation "%" begins an escape; in a property "," and ":" end it.
std::string annotation_text(std::string_view text, std::string_view special) {
  std::string out;
  for (const char c : text) {
    if (c == '%' || special.find(c) != std::string_view::npos) {
      char escape[4];
      std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return out;
}

template <class Print>
void print_list(const Findings &findings, std::FILE *out, const Print &print) {
  const char *before = "\n ";
  for (const Finding &finding : findings.all()) {
    std::fputs(before, out);
    std::fputs(print(finding).c_str(), out);
    before = ",\n ";
  }
}

}  // namespace

// A message of the library begins with the definition in words, where it is about one.
Finding finding_of(const cli_fault &fault) {
  Finding finding{fault.severity,
                  fault.rule,
                  fault.file == nullptr ? "" : fault.file,
                  {std::max(fault.line, 1U), std::max(fault.column, 1U)},
                  "",
                  fault.text};
  for (const std::string_view end : {"\": ", ", a group: "}) {
    if (const std::size_t at = finding.text.find(end); finding.text.starts_with('"') && at != std::string::npos) {
      finding.where = finding.text.substr(0, at + end.size() - 2);
      finding.text.erase(0, at + end.size());
      break;
    }
  }
  return finding;
}

std::string_view severity_name(int32_t severity) {
  return severity == CLI_ERROR ? "error" : severity == CLI_WARNING ? "warning" : "note";
}

std::size_t Findings::count(int32_t severity) const {
  return static_cast<std::size_t>(std::count_if(findings_.begin(), findings_.end(),
                                                [&](const Finding &finding) { return finding.severity == severity; }));
}

void Findings::arrange(std::span<const std::string> files) {
  const auto order = [files](const Finding &finding) {
    return std::tuple(std::find(files.begin(), files.end(), finding.file), finding.place);
  };
  std::stable_sort(findings_.begin(), findings_.end(),
                   [&](const Finding &a, const Finding &b) { return order(a) < order(b); });
  using Said = std::tuple<std::string_view, std::string_view, std::string_view, std::string_view>;
  std::map<Said, std::size_t> first;
  std::vector<std::size_t> kept;
  for (std::size_t at = 0; at < findings_.size(); ++at) {
    const Finding &finding = findings_[at];
    const auto [said, is_new] = first.emplace(Said(finding.rule, finding.file, finding.where, finding.text), at);
    if (is_new || finding.where.empty()) {
      kept.push_back(at);
    } else {
      findings_[said->second].places++;
    }
  }
  std::vector<Finding> all;
  all.reserve(kept.size());
  for (const std::size_t at : kept) {
    all.push_back(findings_[at]);
  }
  findings_ = std::move(all);
}

std::string quoted(std::string_view text) {
  constexpr std::size_t kLongest = 100;
  std::string shown = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (shown.size() > kLongest && (byte & 0xC0U) != 0x80U) {
      shown += "...";
      break;
    }
    if (byte < 0x20 || byte == 0x7F) {
      static constexpr char kDigits[] = "0123456789abcdef";
      shown.append({'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]});
    } else {
      shown += c;
    }
  }
  return shown + '"';
}

std::string as_line(const Finding &finding) {
  std::string line = finding.file;
  line.append(":").append(std::to_string(finding.place.line)).append(":").append(std::to_string(finding.place.column));
  line.append(": ").append(severity_name(finding.severity)).append(": ").append(sentence(finding));
  return line.append(" [").append(finding.rule).append("]");
}

void print_as_text(const Findings &findings, std::FILE *out) {
  for (const Finding &finding : findings.all()) {
    std::fprintf(out, "%s\n", as_line(finding).c_str());
  }
}

void print_as_json(const Findings &findings, std::FILE *out) {
  std::fputc('[', out);
  print_list(findings, out, [](const Finding &finding) {
    return "{" + member("file", finding.file) + ", \"line\": " + std::to_string(finding.place.line) +
           ", \"column\": " + std::to_string(finding.place.column) + ", " +
           member("severity", severity_name(finding.severity)) + ", " + member("rule", finding.rule) + ", " +
           member("definition", finding.where) + ", " + member("text", finding.text) +
           ", \"places\": " + std::to_string(finding.places) + "}";
  });
  std::fputs(findings.all().empty() ? "]\n" : "\n]\n", out);
}

void print_as_sarif(const Findings &findings, std::FILE *out) {
  std::fputs(
      "{\"version\": \"2.1.0\", \"$schema\": \"https://json.schemastore.org/sarif-2.1.0.json\", \"runs\": [{\"tool\": "
      "{\"driver\": {\"name\": \"cli-shell check\"}}, \"results\": [",
      out);
  print_list(findings, out, [](const Finding &finding) {
    return "{" + member("ruleId", finding.rule) + ", " + member("level", severity_name(finding.severity)) +
           ", \"message\": {" + member("text", sentence(finding)) +
           "}, \"locations\": [{\"physicalLocation\": {\"artifactLocation\": {" + member("uri", finding.file) +
           "}, \"region\": {\"startLine\": " + std::to_string(finding.place.line) +
           ", \"startColumn\": " + std::to_string(finding.place.column) + "}}}]}";
  });
  std::fputs("]}]}\n", out);
}

void print_as_github(const Findings &findings, std::FILE *out) {
  constexpr std::string_view kEnds = "\r\n";
  constexpr std::string_view kPropertyEnds = "\r\n,:";
  for (const Finding &finding : findings.all()) {
    const std::string_view severity = finding.severity == CLI_NOTE ? "notice" : severity_name(finding.severity);
    std::fprintf(out, "::%s file=%s,line=%u,col=%u,title=%s::%s\n", std::string(severity).c_str(),
                 annotation_text(finding.file, kPropertyEnds).c_str(), finding.place.line, finding.place.column,
                 finding.rule.c_str(), annotation_text(sentence(finding), kEnds).c_str());
  }
}

}  // namespace cli_check
