// The members of a definition or argument, found in one pass over the object.
#ifndef CLI_ENGINE_DECLARATION_HPP
#define CLI_ENGINE_DECLARATION_HPP

#include <array>
#include <cstring>

#include "cli_engine/document.hpp"
#include "cli_engine/language_table.hpp"

namespace cli_engine {

class Declaration {
 public:
  explicit Declaration(const Value &object) : object_(object) {
    object.for_each_member([this](const Member &member) {
      if (member.name[0] == '#') {
        const MemberId id = member_id({member.name, std::strlen(member.name)});
        if (id != MemberId::kNone) {
          members_[static_cast<std::size_t>(id)] = member.value;
        }
      }
    });
  }

  [[nodiscard]] const Value &object() const { return object_; }
  [[nodiscard]] const Value &operator[](MemberId id) const { return members_[static_cast<std::size_t>(id)]; }

 private:
  Value object_;
  std::array<Value, kMemberCount> members_;
};

}  // namespace cli_engine

#endif
