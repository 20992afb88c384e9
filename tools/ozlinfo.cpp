// Prints the library's version record and the instruction set its kernels use.
#include <cinttypes>
#include <cstdio>

#include "frame/cpu.hpp"
#include "ozl.h"

int main() {
    const OzlLibVersion* v = ozlGetLibVersion();
    std::printf("ozl library\n");
    std::printf("  major            %d\n", static_cast<int>(v->major));
    std::printf("  minor            %d\n", static_cast<int>(v->minor));
    std::printf("  build            %d\n", static_cast<int>(v->build));
    std::printf("  name             %s\n", v->name);
    std::printf("  version          %s\n", v->version);
    std::printf("  internal version %s\n", v->internalVersion);
    std::printf("  build date       %s\n", v->buildDate);
    std::printf("  call convention  %s\n", v->callConv);
    std::printf("  SIMD detected    %s\n", ozl::cpu::name(ozl::cpu::detected()));
    std::printf("  SIMD in use      %s\n", ozl::cpu::name(ozl::cpu::active()));
    return 0;
}
