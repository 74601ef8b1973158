// A growable row whose growth never throws.
#ifndef CLI_ENGINE_VECTOR_HPP
#define CLI_ENGINE_VECTOR_HPP

#include <vector>

#include "libglobal/report.hpp"

namespace cli_engine {

template <class T>
using Vector = std::vector<T, libglobal::ReportingAllocator<T>>;

}  // namespace cli_engine

#endif
