// The check sequence and run shared by the two-image and image-and-constant
// operations (arithmetic, logic, shifts): header checks, depth, data order and
// channel agreement, mask combination, kernel choice, direct run or tile walk.
#pragma once

#include <initializer_list>

#include "arith/kernels.hpp"
#include "ozl.h"

namespace ozl::arith {

// Who reports: the exported name and the source module.
struct Caller {
    const char* function;
    const char* module;
};

// Reports through ozlError; returns false so checks read `return fail(...)`.
bool fail(const Caller& caller, OzlStatus status, const char* message, int line);

// ozlCheckImageHeader on each image in order; the first failure is reported
// with the status it left and "Incorrect Image".
bool headersValid(const Caller& caller, std::initializer_list<const OzlImage*> images, int line);

struct OperationSpec {
    Op op;
    bool bitwise;           // kernels by value width (8S shares 8U); 32F refused
    bool checkDataOrder;    // skipped anyway for 1-bit images
    OpArgs args;            // constant (any width; reduced per depth here) and shift
};

// Runs `spec` on srcA (and srcB when not null) into dst after the checks.
// Messages name srcImageA/srcImageB for two-image forms, srcImage for one.
void runOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                  const OperationSpec& spec);

}  // namespace ozl::arith
