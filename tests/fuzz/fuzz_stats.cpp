// Histograms and look-up tables, moments, norms. Tables are real arrays of
// the length their num gives (the library cannot check pointers), their keys
// mostly valid, now and then out of range or out of order.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// One table array for a call: an entry per channel of the larger image (the
// destination's channel of interest picks tables too), now and then a NULL
// entry or a NULL array.
class Tables {
public:
    Tables(Case& c, const OzlImage* a, const OzlImage* b = nullptr) {
        int entries = 4;
        for (const OzlImage* im : {a, b})
            if (im && im->nChannels > entries) entries = im->nChannels;
        for (int i = 0; i < entries; ++i) {
            auto t = std::make_unique<Table>();
            const int num = c.rng().percent(5) ? static_cast<int>(c.rng().between(0, 1))
                                               : static_cast<int>(c.rng().between(2, 40));
            const int top = c.rng().of({2, 256, 65536});
            t->key.resize(static_cast<size_t>(std::max(num, 1)));
            t->value.resize(t->key.size());
            t->factor.resize(t->key.size());
            for (auto& k : t->key) k = static_cast<int32_t>(c.rng().between(0, top));
            if (!c.rng().percent(5)) std::sort(t->key.begin(), t->key.end());
            if (c.rng().percent(5)) t->key.back() = static_cast<int32_t>(c.rng().between(-2, top + 2));
            for (auto& v : t->value) v = c.anyInt();
            for (auto& f : t->factor) f = c.anyInt();
            t->lut = {num, t->key.data(), t->value.data(),
                      c.rng().percent(10) ? nullptr : t->factor.data(),
                      static_cast<int32_t>(c.rng().below(2))};
            ptr_.push_back(c.rng().percent(3) ? nullptr : &t->lut);
            all_.push_back(std::move(t));
        }
        null_ = c.rng().percent(3);
        c.note(null_ ? "lut NULL" : std::to_string(entries) + " tables");
    }
    OzlLUT** get() { return null_ ? nullptr : ptr_.data(); }

private:
    struct Table {
        std::vector<int32_t> key, value, factor;
        OzlLUT lut{};
    };
    std::vector<std::unique_ptr<Table>> all_;
    std::vector<OzlLUT*> ptr_;
    bool null_ = false;
};

template <void (*F)(OzlImage*, OzlImage*, OzlLUT**)>
void mapCall(Case& c) {
    const auto [s, d] = c.picks<2>();
    Tables tables(c, s, d);
    F(s, d, tables.get());
}

int order(Case& c) {
    const int v = static_cast<int>(c.rng().between(-1, 4));
    c.note(std::to_string(v));
    return v;
}

template <double (*F)(OzlImage*, int, int)>
void oneMoment(Case& c) {
    OzlImage* image = c.pick();
    const int m = order(c);
    F(image, m, order(c));
}

template <double (*F)(OzlMomentState, int, int)>
void readMoment(Case& c) {
    OzlMomentState state = {};
    ozlMoments(c.pick(), state);
    const int m = order(c);
    F(state, m, order(c));
}

const ozl::fuzz::Registrar calls("stats", {
    {"ozlComputeHisto", [](Case& c) {
         OzlImage* image = c.pick();
         Tables tables(c, image);
         ozlComputeHisto(image, tables.get());
     }},
    {"ozlContrastStretch", mapCall<ozlContrastStretch>},
    {"ozlHistoEqualize", mapCall<ozlHistoEqualize>},
    {"ozlMoments", [](Case& c) {
         OzlMomentState state = {};
         ozlMoments(c.pick(), state);
     }},
    {"ozlGetSpatialMoment", readMoment<ozlGetSpatialMoment>},
    {"ozlGetNormalizedSpatialMoment", readMoment<ozlGetNormalizedSpatialMoment>},
    {"ozlGetCentralMoment", readMoment<ozlGetCentralMoment>},
    {"ozlGetNormalizedCentralMoment", readMoment<ozlGetNormalizedCentralMoment>},
    {"ozlSpatialMoment", oneMoment<ozlSpatialMoment>},
    {"ozlNormalizedSpatialMoment", oneMoment<ozlNormalizedSpatialMoment>},
    {"ozlCentralMoment", oneMoment<ozlCentralMoment>},
    {"ozlNormalizedCentralMoment", oneMoment<ozlNormalizedCentralMoment>},
    {"ozlNorm", [](Case& c) {
         const auto [a, b] = c.picks<2>();
         const int type = static_cast<int>(c.rng().between(-1, 17));
         c.note(std::to_string(type));
         ozlNorm(a, b, type);
     }},
});

}  // namespace
