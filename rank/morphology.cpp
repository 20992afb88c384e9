// The minimum and maximum filters over a rectangle, and the morphology over a
// structuring element (3 x 3 by default): erosion, dilation, opening (erode
// then dilate) and closing (dilate then erode), each pass repeated
// `iterations` times.
#include "rank/extremes.hpp"
#include "rank/window.hpp"

namespace ozl::rank {
namespace {

using core::fail;

enum class Extreme { Least, Greatest };
enum class Morph { Erode, Dilate, Open, Close };

void extremeFilter(const core::Caller& caller, int line, OzlImage* src, OzlImage* dst, int nCols,
                   int nRows, int anchorX, int anchorY, Extreme extreme) {
    if (!windowCallValid(caller, line, src, dst, nCols, nRows, anchorX, anchorY)) return;
    const ExtremeStep step{extreme == Extreme::Greatest, 1};
    core::reportNbCode(caller, runExtremes(src, dst, Shape{nCols, nRows, anchorX, anchorY, nullptr}, &step, 1),
           line + 4);
}

bool elementValid(const core::Caller& caller, const OzlStructElement* e, int line) {
    if (!e) return true;
    if (e->nCols <= 0 || e->nRows <= 0 || e->anchorX < 0 || e->anchorY < 0 ||
        e->anchorX >= e->nCols || e->anchorY >= e->nRows || !e->values)
        return fail(caller, OZL_StsBadArg, "Bad structuring element", line);
    const int64_t area = static_cast<int64_t>(e->nCols) * e->nRows;
    for (int64_t i = 0; i < area; ++i)
        if (e->values[i]) return true;
    return fail(caller, OZL_StsBadArg, "Empty structuring element", line);
}

// Erosion takes the least value, dilation the greatest; opening and closing
// are the two in turn.
void morphology(const core::Caller& caller, int line, OzlImage* src, OzlImage* dst,
                const OzlStructElement* element, int iterations, Morph op) {
    if (!core::headersValid(caller, {src, dst}, line) || !offsetsValid(caller, src, dst, line)) return;
    if (!elementValid(caller, element, line + 1)) return;
    if (iterations <= 0)
        return static_cast<void>(fail(caller, OZL_StsBadArg, "Non-positive number of iterations", line + 2));
    if (!sameFormat(caller, src, dst, line + 3)) return;
    Shape shape;
    if (element) shape = Shape{element->nCols, element->nRows, element->anchorX, element->anchorY, element->values};
    const bool dilateFirst = op == Morph::Dilate || op == Morph::Close;
    const int nSteps = op == Morph::Open || op == Morph::Close ? 2 : 1;
    const ExtremeStep steps[2] = {{dilateFirst, iterations}, {!dilateFirst, iterations}};
    core::reportNbCode(caller, runExtremes(src, dst, shape, steps, nSteps), line + 5);
}

}  // namespace
}  // namespace ozl::rank

extern "C" OZL_API void OZL_CALL ozlMinFilter(OzlImage* srcImage, OzlImage* dstImage, int nCols,
                                              int nRows, int anchorX, int anchorY) {
    ozl::rank::extremeFilter({"ozlMinFilter", "ozlrank"}, 212, srcImage, dstImage, nCols, nRows,
                             anchorX, anchorY, ozl::rank::Extreme::Least);
}

extern "C" OZL_API void OZL_CALL ozlMaxFilter(OzlImage* srcImage, OzlImage* dstImage, int nCols,
                                              int nRows, int anchorX, int anchorY) {
    ozl::rank::extremeFilter({"ozlMaxFilter", "ozlrank"}, 241, srcImage, dstImage, nCols, nRows,
                             anchorX, anchorY, ozl::rank::Extreme::Greatest);
}

extern "C" OZL_API void OZL_CALL ozlErode(OzlImage* srcImage, OzlImage* dstImage,
                                          const OzlStructElement* element, int iterations) {
    ozl::rank::morphology({"ozlErode", "ozlmorph"}, 118, srcImage, dstImage, element, iterations,
                          ozl::rank::Morph::Erode);
}

extern "C" OZL_API void OZL_CALL ozlDilate(OzlImage* srcImage, OzlImage* dstImage,
                                           const OzlStructElement* element, int iterations) {
    ozl::rank::morphology({"ozlDilate", "ozlmorph"}, 151, srcImage, dstImage, element, iterations,
                          ozl::rank::Morph::Dilate);
}

extern "C" OZL_API void OZL_CALL ozlOpen(OzlImage* srcImage, OzlImage* dstImage,
                                         const OzlStructElement* element, int iterations) {
    ozl::rank::morphology({"ozlOpen", "ozlmorph"}, 187, srcImage, dstImage, element, iterations,
                          ozl::rank::Morph::Open);
}

extern "C" OZL_API void OZL_CALL ozlClose(OzlImage* srcImage, OzlImage* dstImage,
                                          const OzlStructElement* element, int iterations) {
    ozl::rank::morphology({"ozlClose", "ozlmorph"}, 219, srcImage, dstImage, element, iterations,
                          ozl::rank::Morph::Close);
}
