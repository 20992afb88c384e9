// The check sequence and run shared by the two-image and image-and-constant
// operations (arithmetic, logic, shifts, constants, abs, square): header
// checks, depth, data order and channel agreement, mask combination, kernel
// choice, then one call of the pixel-wise driver.
#pragma once

#include "arith/kernels.hpp"
#include "core/checks.hpp"
#include "ozl.h"

namespace ozl::arith {

using core::Caller;
using core::fail;
using core::headersValid;

// Which of the family's checks an operation runs, and how it reads depths.
struct OperationSpec {
    Op op;
    bool bitwise = false;         // kernels by value width (8S shares 8U); 32F refused
    bool checkDataOrder = true;   // skipped anyway for 1-bit images
    OpArgs args = {};             // constant (any width; reduced per depth here) and shift
};

// A bitwise operation's spec, with its constant or shift.
inline OperationSpec bitwiseSpec(Op op, OpArgs args = {}) {
    OperationSpec spec{op};
    spec.bitwise = true;
    spec.args = args;
    return spec;
}

// Runs `spec` on srcA (and srcB for two-image operations) into dst after the
// checks. Messages name srcImageA/srcImageB for two-image forms, srcImage for one.
void runOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                  const OperationSpec& spec);

// The part after the argument checks: mask combination, the 32F refusal of
// bitwise operations, the kernel, the driver, tile failures.
void runChecked(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                const OperationSpec& spec);

}  // namespace ozl::arith
