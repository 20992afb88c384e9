// Histograms and look-up tables, moments, norms. Tables are real arrays of the length their num gives (the
// library cannot check pointers), their keys mostly valid, now and then out of range or out of order.
#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// One table array for a call: an entry per channel of the larger image (the destination's channel of interest
// picks tables too), now and then a NULL entry or a NULL array.
struct Tables {
    struct Table {
        std::vector<int32_t> key, value, factor;
        OzlLUT lut{};
    };
    std::vector<Table> all;
    std::vector<OzlLUT*> ptr;
    bool null;

    Tables(Case& c, const OzlImage* a, const OzlImage* b = nullptr) {
        size_t entries = 4;
        for (const OzlImage* im : {a, b})
            if (im && im->nChannels > int(entries)) entries = size_t(im->nChannels);
        all.resize(entries);
        for (Table& t : all) {
            const int num = c.rng().percent(5) ? c.rng().between(0, 1) : c.rng().between(2, 40);
            const int top = c.rng().of({2, 256, 65536});
            const size_t n = static_cast<size_t>(std::max(num, 1));
            t.key.resize(n), t.value.resize(n), t.factor.resize(n);
            for (auto& k : t.key) k = c.rng().between(0, top);
            if (!c.rng().percent(5)) std::sort(t.key.begin(), t.key.end());
            if (c.rng().percent(5)) t.key.back() = c.rng().between(-2, top + 2);
            for (size_t j = 0; j < n; ++j) t.value[j] = c.anyInt(), t.factor[j] = c.anyInt();
            t.lut = {num, t.key.data(), t.value.data(), c.rng().percent(10) ? nullptr : t.factor.data(),
                     static_cast<int32_t>(c.rng().below(2))};
            ptr.push_back(c.rng().percent(3) ? nullptr : &t.lut);
        }
        null = c.rng().percent(3);
        c.note(null ? "lut NULL" : std::to_string(entries) + " tables");
    }
    OzlLUT** get() { return null ? nullptr : ptr.data(); }
};

template <void (*F)(OzlImage*, OzlImage*, OzlLUT**)>
void mapCall(Case& c) {
    const auto [s, d] = c.picks<2>();
    Tables tables(c, s, d);
    F(s, d, tables.get());
}

// A moment of an image, or read from the state ozlMoments left (orders -1..4: the ends are refused).
template <auto F>
void moment(Case& c) {
    OzlMomentState state = {};
    OzlImage* image = c.pick();
    const int m = c.small(-1, 4), n = c.small(-1, 4);
    if constexpr (std::is_invocable_v<decltype(F), OzlImage*, int, int>) F(image, m, n);
    else ozlMoments(image, state), F(state, m, n);
}

const ozl::fuzz::Registrar calls({
    {"ozlComputeHisto", [](Case& c) {
         OzlImage* image = c.pick();
         Tables tables(c, image);
         ozlComputeHisto(image, tables.get());
     }},
    {"ozlContrastStretch", mapCall<ozlContrastStretch>}, {"ozlHistoEqualize", mapCall<ozlHistoEqualize>},
    {"ozlMoments", [](Case& c) { OzlMomentState state = {}; ozlMoments(c.pick(), state); }},
    {"ozlGetSpatialMoment", moment<ozlGetSpatialMoment>}, {"ozlSpatialMoment", moment<ozlSpatialMoment>},
    {"ozlGetNormalizedSpatialMoment", moment<ozlGetNormalizedSpatialMoment>},
    {"ozlGetCentralMoment", moment<ozlGetCentralMoment>}, {"ozlCentralMoment", moment<ozlCentralMoment>},
    {"ozlGetNormalizedCentralMoment", moment<ozlGetNormalizedCentralMoment>},
    {"ozlNormalizedSpatialMoment", moment<ozlNormalizedSpatialMoment>},
    {"ozlNormalizedCentralMoment", moment<ozlNormalizedCentralMoment>},
    {"ozlNorm", ozl::fuzz::ranged<ozlNorm, -1, 17>},
});

}  // namespace
