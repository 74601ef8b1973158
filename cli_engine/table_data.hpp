// Tables as data: what table_to_json gives, a row at a time.
#ifndef CLI_ENGINE_TABLE_DATA_HPP
#define CLI_ENGINE_TABLE_DATA_HPP

#include <vector>

#include "cli_engine/json_ref.hpp"
#include "cli_engine/table.h"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {

class TableRows {
 public:
  explicit TableRows(const table &t);

  // The row shown at a place, as an object.
  [[nodiscard]] JsonRef row(int32_t place);

 private:
  using Keys = std::vector<libglobal::DynStringOwner, libglobal::ReportingAllocator<libglobal::DynStringOwner>>;

  libglobal::DynStringOwner key_for(int32_t col) const;
  [[nodiscard]] bool is_taken(const DynString &key) const;
  void set(json_t *object, std::size_t key, const content &cell);

  const table &table_;
  Keys keys_;  // of the label, null when no row has one, and of the columns
  libglobal::DynStringOwner text_;
};

}  // namespace cli_engine

#endif
