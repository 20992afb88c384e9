// Colour to grey and grey to colour (ozlColorToGray, ozlGrayToColor): the
// colour frame with the grey side's checks; the arithmetic (modules Ownctog
// and Owngtoc) is in gray_ref.hpp. Like the conversions, both work on the whole
// top-left overlap of the two images: regions of interest, channels of
// interest and masks are not consulted. A grey image in plane order may have
// several channels; its first plane is the grey one.
#include <cmath>

#include "color/frame.hpp"
#include "color/gray_ref.hpp"

using namespace ozl::color;

namespace {

int grayIndex(uint32_t depth) {
    switch (depth) {
        case OZL_DEPTH_8U: return 0;
        case OZL_DEPTH_16U: return 1;
        case OZL_DEPTH_32S: return 2;
        default: return -1;
    }
}

// A weight as a 16-bit factor and its shift (see gray_ref.hpp).
void factorOf(float weight, int32_t& factor, int& shift) {
    if (std::isnan(weight)) {
        factor = 0, shift = 15;
    } else if (weight > -1.0f && weight < 1.0f) {
        factor = static_cast<int32_t>(weight * 32768.0f), shift = 15;
    } else {
        const double scaled =
            std::fmax(-32768.0, std::fmin(32767.0, static_cast<double>(weight) * 256.0));
        factor = static_cast<int32_t>(scaled), shift = 8;
    }
}

}  // namespace

extern "C" {

OZL_API void OZL_CALL ozlColorToGray(OzlImage* src, OzlImage* dst) {
    const char* f = "ozlColorToGray";
    if (!imagesValid(f, src, dst) || !rgbSideValid(f, src) || !graySideValid(f, dst)) return;
    const Caller c{f, kCheckModule};
    if (dst->dataOrder == OZL_DATA_ORDER_PIXEL && dst->nChannels != 1)
        return void(fail(c, OZL_StsBadArg,
                         "(dst-> dataOrder == OZL_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)",
                         163));
    if (src->origin != dst->origin)
        return void(fail(c, OZL_StsBadArg, "src->origin != dst->origin", 166));
    if (src->nChannels < 3) return void(fail(c, OZL_StsBadArg, "(src->nChannels < 3)", 169));

    const int from = grayIndex(src->depth);
    const int to = dst->depth == OZL_DEPTH_1U ? 2 : grayIndex(dst->depth);
    if (from < 0 || to < 0 || to > 2 || dst->depth == OZL_DEPTH_32S)
        return void(fail({f, "Ownctog"}, OZL_StsBadArg,
                         "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now", 52));

    const int32_t* weights = from == 0 ? kGray8 : from == 1 ? kGray16 : kGray32;
    const int red = redChannel(src);
    GrayArgs args;
    args.weight[red] = weights[0];
    args.weight[1] = weights[1];
    args.weight[2 - red] = weights[2];
    walk(f, src, dst, activeTable().toGray[from][to], &args);
}

OZL_API void OZL_CALL ozlGrayToColor(OzlImage* src, OzlImage* dst, float FractR, float FractG,
                                     float FractB) {
    const char* f = "ozlGrayToColor";
    if (!imagesValid(f, src, dst) || !rgbSideValid(f, dst) || !graySideValid(f, src)) return;
    const Caller c{f, kCheckModule};
    if (src->depth != dst->depth && src->depth != OZL_DEPTH_1U)
        return void(fail(c, OZL_StsBadArg, "src-> depth != dst-> depth && src-> depth != 1U", 185));
    if (src->depth != dst->depth && dst->depth != OZL_DEPTH_8U)
        return void(fail(c, OZL_StsBadArg, "src-> depth == dst-> depth && dst-> depth != 8U", 188));
    if (src->dataOrder == OZL_DATA_ORDER_PIXEL && src->nChannels != 1)
        return void(fail(c, OZL_StsBadArg,
                         "(src-> dataOrder == OZL_DATA_ORDER_PIXEL) && (src-> nChannels != 1)",
                         191));
    if (src->origin != dst->origin)
        return void(fail(c, OZL_StsBadArg, "(src->origin != dst->origin)", 194));
    if (dst->nChannels < 3) return void(fail(c, OZL_StsBadArg, "(dst->nChannels < 3)", 197));

    const int from =
        src->depth == OZL_DEPTH_1U ? static_cast<int>(Gray::Bits) : grayIndex(src->depth);
    if (from < 0)
        return void(
            fail({f, "Owngtoc"}, OZL_StsBadArg, "Error input depth. 32S,16U,8U are valid now", 47));

    const int red = redChannel(dst);
    SpreadArgs args;
    factorOf(FractR, args.factor[red], args.shift[red]);
    factorOf(FractG, args.factor[1], args.shift[1]);
    factorOf(FractB, args.factor[2 - red], args.shift[2 - red]);
    walk(f, src, dst, activeTable().fromGray[from], &args);
}

}  // extern "C"
