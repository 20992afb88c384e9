// The scalar table of the colour family and the choice of table by
// instruction-set level.
#include "color/convert_ref.hpp"
#include "simd/levels.hpp"

namespace ozl::color {

const ColorTable& colorTableSse2();
const ColorTable& colorTableAvx2();
const ColorTable& colorTableAvx512();
const ColorTable& colorTableAvx512Vbmi();

namespace {

template <Model m, Way w>
void fillConversion(ColorTable& t) {
    auto one = [&](auto tag) {
        using T = decltype(tag);
        constexpr Depth d = depthOf<T>();
        if constexpr (takesDepth(m, w, d))
            t.convert[static_cast<int>(m)][static_cast<int>(w)][static_cast<int>(d)] =
                &convertRowRef<m, w, T>;
    };
    one(uint8_t{}), one(uint16_t{}), one(int32_t{}), one(float{});
}

template <Model m>
void fillModel(ColorTable& t) {
    fillConversion<m, Way::FromRgb>(t);
    fillConversion<m, Way::ToRgb>(t);
}

const ColorTable& colorTableRef() {
    static const ColorTable table = [] {
        ColorTable t;
        fillModel<Model::Hsv>(t);
        fillModel<Model::Hls>(t);
        fillModel<Model::Xyz>(t);
        fillModel<Model::Yuv>(t);
        fillModel<Model::YCrCb>(t);
        fillModel<Model::Ycc>(t);
        fillModel<Model::Luv>(t);
        t.twistFixed[0] = &twistFixedRef<uint8_t>;
        t.twistFixed[1] = &twistFixedRef<uint16_t>;
        t.twistGeneral[0] = &twistGeneralRef<uint8_t>;
        t.twistGeneral[1] = &twistGeneralRef<uint16_t>;
        t.twistReal = &twistRealRef;
        t.toGray[0][0] = &toGrayRef<uint8_t, uint8_t>;
        t.toGray[0][1] = &toGrayRef<uint8_t, uint16_t>;
        t.toGray[0][2] = &toGrayRef<uint8_t, bool>;
        t.toGray[1][0] = &toGrayRef<uint16_t, uint8_t>;
        t.toGray[1][1] = &toGrayRef<uint16_t, uint16_t>;
        t.toGray[1][2] = &toGrayRef<uint16_t, bool>;
        t.toGray[2][0] = &toGrayRef<int32_t, uint8_t>;
        t.toGray[2][1] = &toGrayRef<int32_t, uint16_t>;
        t.toGray[2][2] = &toGrayRef<int32_t, bool>;
        t.fromGray[static_cast<int>(Gray::U8)] = &fromGrayRef<uint8_t, uint8_t>;
        t.fromGray[static_cast<int>(Gray::U16)] = &fromGrayRef<uint16_t, uint16_t>;
        t.fromGray[static_cast<int>(Gray::S32)] = &fromGrayRef<int32_t, int32_t>;
        t.fromGray[static_cast<int>(Gray::Bits)] = &fromGrayRef<bool, uint8_t>;
        return t;
    }();
    return table;
}

// The AVX-512 level takes the byte-permute variant where the processor has it.
const ColorTable& colorTableAvx512Best() {
    return cpu::hasAvx512Vbmi() ? colorTableAvx512Vbmi() : colorTableAvx512();
}

constexpr simd::PerLevel<ColorTable> kTables{&colorTableRef, &colorTableSse2, &colorTableAvx2,
                                             &colorTableAvx512Best};

}  // namespace

const ColorTable& colorTable(cpu::Level level) { return kTables.at(level); }

const ColorTable& referenceTable() { return colorTableRef(); }

std::vector<NamedTable> vectorTables() {
    std::vector<NamedTable> out;
    const cpu::Level top = cpu::detected();
    if (top >= cpu::Level::Sse2) out.push_back({"sse2", &colorTableSse2()});
    if (top >= cpu::Level::Avx2) out.push_back({"avx2", &colorTableAvx2()});
    if (top >= cpu::Level::Avx512) out.push_back({"avx512", &colorTableAvx512()});
    if (top >= cpu::Level::Avx512 && cpu::hasAvx512Vbmi())
        out.push_back({"avx512vbmi", &colorTableAvx512Vbmi()});
    return out;
}

}  // namespace ozl::color
