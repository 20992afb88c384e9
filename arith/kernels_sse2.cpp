// sse2 kernel table (vector forms being added; scalar until then).
#include "arith/kernels.hpp"

namespace ozl::arith {

const KernelTable& sse2Table() { return refTable(); }

}  // namespace ozl::arith
