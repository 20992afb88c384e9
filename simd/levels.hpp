// A family's kernel tables by instruction-set level. Each level's table is
// built in the translation unit compiled for that level; a level without a
// table of its own uses the nearest one below it.
#pragma once

#include "frame/cpu.hpp"

namespace ozl::simd {

template <class Table>
struct PerLevel {
    using Getter = const Table& (*)();
    Getter ref;
    Getter sse2 = nullptr;
    Getter avx2 = nullptr;
    Getter avx512 = nullptr;

    // The table of the highest level at or below `level` that has one.
    const Table& at(cpu::Level level) const {
        const Getter byLevel[] = {ref, sse2, avx2, avx512};
        for (int l = static_cast<int>(level); l > 0; --l)
            if (byLevel[l]) return byLevel[l]();
        return ref();
    }
    const Table& active() const { return at(cpu::active()); }
};

}  // namespace ozl::simd
