// Saved configurations: files that are written whole or not at all, and only their owner can read.
#ifndef EXAMPLES_ROUTER_STORAGE_HPP
#define EXAMPLES_ROUTER_STORAGE_HPP

#include <string>
#include <vector>

namespace router {

// ROUTER_STARTUP_CONFIG, or startup-config in the state folder of the user; "" when there is neither.
std::string startup_path();

// A saved configuration by its name: in the folder "saved" beside the startup configuration.
std::string saved_path(const std::string &name);

struct SavedFile {
  std::string name;
  std::string changed;  // local time
  long long size;       // bytes
};
std::vector<SavedFile> saved_files();  // by name

// Each returns "" or the reason of its failure. After a failed write, or a crash in the middle of one, the file is what
// it was before.
[[nodiscard]] std::string write_whole(const std::string &path, const std::string &content);
[[nodiscard]] std::string read_whole(const std::string &path, std::string &content);
[[nodiscard]] std::string remove_file(const std::string &path);

std::vector<std::string> split_lines(const std::string &content);  // without line ends, LF or CRLF

}  // namespace router

#endif
