/*
 * ozl -- image processing library, public interface.
 *
 * Plain C (C99 or later, or C++). Every exported function uses the platform's
 * C calling convention and an undecorated name. Failures are reported through
 * the per-thread error status and the error handler (ozlError).
 */
#ifndef OZL_H
#define OZL_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#  define OZL_CALL __cdecl
#  if defined(OZL_BUILD_DLL)
#    define OZL_API __declspec(dllexport)
#  elif defined(OZL_STATIC)
#    define OZL_API
#  else
#    define OZL_API __declspec(dllimport)
#  endif
#else
#  define OZL_CALL
#  if defined(__GNUC__)
#    define OZL_API __attribute__((visibility("default")))
#  else
#    define OZL_API
#  endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Status codes                                                              */
/* ------------------------------------------------------------------------ */

typedef int32_t OzlStatus;

#define OZL_StsOk                  0
#define OZL_StsBackTrace          (-1)
#define OZL_StsError              (-2)
#define OZL_StsInternal           (-3)
#define OZL_StsNoMem              (-4)
#define OZL_StsBadArg             (-5)
#define OZL_StsBadFunc            (-6)
#define OZL_StsNoConv             (-7)
#define OZL_StsAutoTrace          (-8)
#define OZL_StsHeaderIsNull       (-9)
#define OZL_StsBadImageSize       (-10)
#define OZL_StsBadOffset          (-11)
#define OZL_StsBadDataPtr         (-12)
#define OZL_StsBadStep            (-13)
#define OZL_StsBadModelOrChSeq    (-14)
#define OZL_StsBadNumChannels     (-15)
#define OZL_StsBadNumChannel1U    (-16)
#define OZL_StsBadDepth           (-17)
#define OZL_StsBadAlphaChannel    (-18)
#define OZL_StsBadOrder           (-19)
#define OZL_StsBadOrigin          (-20)
#define OZL_StsBadAlign           (-21)
#define OZL_StsBadCallBack        (-22)
#define OZL_StsBadTileSize        (-23)
#define OZL_StsBadCOI             (-24)
#define OZL_StsBadROISize         (-25)
#define OZL_StsMaskIsTiled        (-26)
/* A fault found in an image's mask is reported as this base plus the plain code. */
#define OZL_StsMaskBase           (-100)

/* Error modes (per thread). */
#define OZL_ErrModeLeaf    0  /* report, then terminate */
#define OZL_ErrModeParent  1  /* report, then return the status */
#define OZL_ErrModeSilent  2  /* record and return, report nothing */

/* Report callback: status, function name, context message, source file, line. */
typedef OzlStatus (OZL_CALL *OzlErrorCallBack)(OzlStatus status, const char *funcName,
                                               const char *context, const char *file,
                                               int line);

/* ------------------------------------------------------------------------ */
/* Image header and its records                                              */
/* ------------------------------------------------------------------------ */

#define OZL_DEPTH_SIGN  0x80000000u
#define OZL_DEPTH_1U    1u
#define OZL_DEPTH_8U    8u
#define OZL_DEPTH_16U   16u
#define OZL_DEPTH_32F   32u
#define OZL_DEPTH_8S    (OZL_DEPTH_SIGN | 8u)
#define OZL_DEPTH_16S   (OZL_DEPTH_SIGN | 16u)
#define OZL_DEPTH_32S   (OZL_DEPTH_SIGN | 32u)

#define OZL_DATA_ORDER_PIXEL  0
#define OZL_DATA_ORDER_PLANE  1

#define OZL_ORIGIN_TL  0
#define OZL_ORIGIN_BL  1

#define OZL_ALIGN_4BYTES   4
#define OZL_ALIGN_8BYTES   8
#define OZL_ALIGN_16BYTES  16
#define OZL_ALIGN_32BYTES  32
#define OZL_ALIGN_DWORD    OZL_ALIGN_4BYTES
#define OZL_ALIGN_QWORD    OZL_ALIGN_8BYTES

/* Release flags of ozlDeallocate, combinable. */
#define OZL_IMAGE_HEADER  1
#define OZL_IMAGE_DATA    2
#define OZL_IMAGE_ROI     4
#define OZL_IMAGE_TILE    8
#define OZL_IMAGE_MASK    16
#define OZL_IMAGE_ALL     (OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_TILE | OZL_IMAGE_ROI)
#define OZL_IMAGE_ALL_WITHOUT_MASK  OZL_IMAGE_ALL

/* Border modes and the side slots of borderMode / borderConst. */
#define OZL_BORDER_CONSTANT   0
#define OZL_BORDER_REPLICATE  1
#define OZL_BORDER_REFLECT    2
#define OZL_BORDER_WRAP       3

#define OZL_SIDE_TOP_INDEX     0
#define OZL_SIDE_BOTTOM_INDEX  1
#define OZL_SIDE_LEFT_INDEX    2
#define OZL_SIDE_RIGHT_INDEX   3
#define OZL_SIDE_TOP     (1 << OZL_SIDE_TOP_INDEX)
#define OZL_SIDE_BOTTOM  (1 << OZL_SIDE_BOTTOM_INDEX)
#define OZL_SIDE_LEFT    (1 << OZL_SIDE_LEFT_INDEX)
#define OZL_SIDE_RIGHT   (1 << OZL_SIDE_RIGHT_INDEX)
#define OZL_SIDE_ALL     (OZL_SIDE_TOP | OZL_SIDE_BOTTOM | OZL_SIDE_LEFT | OZL_SIDE_RIGHT)

/* Modes passed to a tile callback. */
#define OZL_GET_TILE_TO_READ   1
#define OZL_GET_TILE_TO_WRITE  2
#define OZL_RELEASE_TILE       4

typedef struct OzlROI {
    int32_t coi;      /* channel of interest, 1-based; 0 means all channels */
    int32_t xOffset;
    int32_t yOffset;
    int32_t width;
    int32_t height;
} OzlROI;

struct OzlImage;

/* Tile callback: image header, tile column, tile row, mode (OZL_GET_TILE_... ). */
typedef void (OZL_CALL *OzlCallBack)(const struct OzlImage *image, int xIndex, int yIndex,
                                     int mode);

typedef struct OzlTileInfo {
    OzlCallBack callBack;
    void *id;
    char *tileData;    /* set by the callback */
    int32_t width;     /* tile size in pixels, multiples of 8 */
    int32_t height;
} OzlTileInfo;

typedef struct OzlImage {
    int32_t nSize;            /* sizeof(OzlImage) */
    int32_t ID;               /* version, 0 */
    int32_t nChannels;
    int32_t alphaChannel;     /* 0, or nChannels */
    uint32_t depth;           /* OZL_DEPTH_... */
    char colorModel[4];
    char channelSeq[4];
    int32_t dataOrder;        /* OZL_DATA_ORDER_... */
    int32_t origin;           /* OZL_ORIGIN_... */
    int32_t align;            /* 4, 8, 16 or 32 */
    int32_t width;
    int32_t height;
    OzlROI *roi;
    struct OzlImage *maskROI; /* 1-bit mask, most significant bit first */
    void *imageId;
    OzlTileInfo *tileInfo;
    int32_t imageSize;
    char *imageData;
    int32_t widthStep;
    int32_t borderMode[4];
    int32_t borderConst[4];
    char *imageDataOrigin;
} OzlImage;

/* ------------------------------------------------------------------------ */
/* Records of the filter, colour and statistics families                     */
/* ------------------------------------------------------------------------ */

typedef struct OzlConvKernel {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    int32_t *values;
    int32_t nShiftR;
} OzlConvKernel;

typedef struct OzlConvKernelFP {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    float *values;
} OzlConvKernelFP;

#define OZL_COMBINE_SUM        0
#define OZL_COMBINE_SUMSQ      1
#define OZL_COMBINE_SUMSQROOT  2
#define OZL_COMBINE_MAX        3
#define OZL_COMBINE_MIN        4

typedef struct OzlColorTwist {
    int32_t data[16];
    int32_t scalingValue;
} OzlColorTwist;

typedef struct OzlLUT {
    int32_t num;
    int32_t *key;
    int32_t *value;
    int32_t *factor;
    int32_t interpolateType;
} OzlLUT;

typedef struct OzlMoment {
    double scale;
    double value;
} OzlMoment;

typedef OzlMoment OzlMomentState[4][4];

#define OZL_C            1
#define OZL_L1           2
#define OZL_L2           4
#define OZL_RELATIVE     8
#define OZL_RELATIVEC    (OZL_RELATIVE | OZL_C)
#define OZL_RELATIVEL1   (OZL_RELATIVE | OZL_L1)
#define OZL_RELATIVEL2   (OZL_RELATIVE | OZL_L2)

typedef struct OzlLibVersion {
    int32_t major;
    int32_t minor;
    int32_t build;
    const char *name;
    const char *version;
    const char *internalVersion;
    const char *buildDate;
    const char *callConv;
} OzlLibVersion;

/* ------------------------------------------------------------------------ */
/* Error status, modes and reporting                                         */
/* ------------------------------------------------------------------------ */

OZL_API OzlStatus OZL_CALL ozlGetErrStatus(void);
OZL_API void OZL_CALL ozlSetErrStatus(OzlStatus status);
OZL_API int OZL_CALL ozlGetErrMode(void);
OZL_API void OZL_CALL ozlSetErrMode(int mode);
OZL_API OzlErrorCallBack OZL_CALL ozlRedirectError(OzlErrorCallBack callback);
OZL_API OzlStatus OZL_CALL ozlError(OzlStatus status, const char *funcName, const char *context,
                                    const char *file, int line);
OZL_API const char *OZL_CALL ozlErrorStr(OzlStatus status);
OZL_API OzlStatus OZL_CALL ozlNulDevReport(OzlStatus status, const char *funcName,
                                           const char *context, const char *file, int line);
OZL_API OzlStatus OZL_CALL ozlStdErrReport(OzlStatus status, const char *funcName,
                                           const char *context, const char *file, int line);
OZL_API OzlStatus OZL_CALL ozlGuiBoxReport(OzlStatus status, const char *funcName,
                                           const char *context, const char *file, int line);

/* ------------------------------------------------------------------------ */
/* Aligned memory (32-byte aligned blocks)                                    */
/* ------------------------------------------------------------------------ */

OZL_API void *OZL_CALL ozlMalloc(int length);
OZL_API void *OZL_CALL ozlwMalloc(int length);
OZL_API void *OZL_CALL ozliMalloc(int length);
OZL_API void *OZL_CALL ozlsMalloc(int length);
OZL_API void *OZL_CALL ozldMalloc(int length);
OZL_API void OZL_CALL ozlFree(void *ptr);

/* ------------------------------------------------------------------------ */
/* Version record and cycle counter                                          */
/* ------------------------------------------------------------------------ */

OZL_API const OzlLibVersion *OZL_CALL ozlGetLibVersion(void);
OZL_API uint64_t OZL_CALL ozlGetQuintorCounter(void);

/* ------------------------------------------------------------------------ */
/* Image headers: lifecycle, validation, border mode                         */
/* ------------------------------------------------------------------------ */

OZL_API OzlImage *OZL_CALL ozlCreateImageHeader(int nChannels, int alphaChannel,
                                                unsigned int depth, const char *colorModel,
                                                const char *channelSeq, int dataOrder,
                                                int origin, int align, int width, int height,
                                                OzlROI *roi, OzlImage *maskROI, void *imageId,
                                                OzlTileInfo *tileInfo);
OZL_API void OZL_CALL ozlAllocateImage(OzlImage *image, int doFill, int fillValue);
OZL_API void OZL_CALL ozlAllocateImageFP(OzlImage *image, int doFill, float fillValue);
OZL_API void OZL_CALL ozlDeallocate(OzlImage *image, int flags);
OZL_API void OZL_CALL ozlDeallocateHeader(OzlImage *image);
OZL_API void OZL_CALL ozlDeallocateImage(OzlImage *image);
OZL_API OzlROI *OZL_CALL ozlCreateROI(int coi, int xOffset, int yOffset, int width, int height);
OZL_API void OZL_CALL ozlSetROI(OzlROI *roi, int coi, int xOffset, int yOffset, int width,
                                int height);
OZL_API void OZL_CALL ozlDeleteROI(OzlROI *roi);
OZL_API OzlTileInfo *OZL_CALL ozlCreateTileInfo(OzlCallBack callBack, void *id, int width,
                                                int height);
OZL_API void OZL_CALL ozlSetTileInfo(OzlTileInfo *tileInfo, OzlCallBack callBack, void *id,
                                     int width, int height);
OZL_API void OZL_CALL ozlDeleteTileInfo(OzlTileInfo *tileInfo);
OZL_API OzlImage *OZL_CALL ozlCloneImage(const OzlImage *image);
OZL_API OzlStatus OZL_CALL ozlCheckImageHeader(const OzlImage *image);
OZL_API void OZL_CALL ozlSetBorderMode(OzlImage *image, int mode, int border, int constVal);

/* ------------------------------------------------------------------------ */
/* Two-image arithmetic                                                      */
/* ------------------------------------------------------------------------ */

OZL_API void OZL_CALL ozlAdd(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlSubtract(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlMultiply(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlMultiplyScale(OzlImage *srcImageA, OzlImage *srcImageB,
                                       OzlImage *dstImage);

/* ------------------------------------------------------------------------ */
/* Scalar arithmetic, absolute value and square                              */
/* ------------------------------------------------------------------------ */

/* Integer images and a constant, saturated to the depth. flip != 0 subtracts
   the image from the constant. 32F images take the FP forms. */
OZL_API void OZL_CALL ozlAddS(OzlImage *srcImage, OzlImage *dstImage, int value);
OZL_API void OZL_CALL ozlSubtractS(OzlImage *srcImage, OzlImage *dstImage, int value, int flip);
OZL_API void OZL_CALL ozlMultiplyS(OzlImage *srcImage, OzlImage *dstImage, int value);
/* src * value / max, rounded (8U: max 255, 16U: 65535); a constant outside
   0..max is taken at the nearer limit. */
OZL_API void OZL_CALL ozlMultiplySScale(OzlImage *srcImage, OzlImage *dstImage, int value);
OZL_API void OZL_CALL ozlAddSFP(OzlImage *srcImage, OzlImage *dstImage, float value);
OZL_API void OZL_CALL ozlSubtractSFP(OzlImage *srcImage, OzlImage *dstImage, float value,
                                     int flip);
OZL_API void OZL_CALL ozlMultiplySFP(OzlImage *srcImage, OzlImage *dstImage, float value);
/* |src|; the most negative value gives the largest positive one. 32F clears
   the sign bit (so -0 gives +0 and a NaN stays a NaN). 1U, 8U and 16U copy. */
OZL_API void OZL_CALL ozlAbs(OzlImage *srcImage, OzlImage *dstImage);
OZL_API void OZL_CALL ozlSquare(OzlImage *srcImage, OzlImage *dstImage);

/* ------------------------------------------------------------------------ */
/* Logic and shifts                                                          */
/* ------------------------------------------------------------------------ */

OZL_API void OZL_CALL ozlAnd(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlOr(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlXor(OzlImage *srcImageA, OzlImage *srcImageB, OzlImage *dstImage);
OZL_API void OZL_CALL ozlNot(OzlImage *srcImage, OzlImage *dstImage);
OZL_API void OZL_CALL ozlAndS(OzlImage *srcImage, OzlImage *dstImage, int value);
OZL_API void OZL_CALL ozlOrS(OzlImage *srcImage, OzlImage *dstImage, int value);
OZL_API void OZL_CALL ozlXorS(OzlImage *srcImage, OzlImage *dstImage, int value);
OZL_API void OZL_CALL ozlLShiftS(OzlImage *srcImage, OzlImage *dstImage, unsigned int nShift);
OZL_API void OZL_CALL ozlRShiftS(OzlImage *srcImage, OzlImage *dstImage, unsigned int nShift);

/* ------------------------------------------------------------------------ */
/* Comparison into bit masks                                                 */
/* ------------------------------------------------------------------------ */

/* Each pixel of the common region sets one bit of res (a one-channel 1U
   image, bits most significant first from its region's bit offset): 1 when
   the relation holds in every processed channel (all but the alpha channel;
   the one channel of interest when a ROI names one), else 0. Less and Greater
   are strict. Every bit of res's region is written; bits outside it keep
   their values. Return 0, or the status reported.

   - Masks: the masks of all operands are combined (AND) into a temporary
     image; where it is 0 the result bit keeps its value. Masks whose regions
     share no pixel leave res as it is. A mask counts as its region's bits.
   - Sources: two images of one depth with equal processed channel counts
     (a channel of interest counts as one channel), data order and origin;
     never res itself. The integer forms take 1U to 32S; ozlLess, ozlGreater
     and ozlEqual also take 32F.
   - Integer constants: each value, widened to 32 bits, is compared with the
     constant; a constant beyond the depth's range makes the relation hold
     everywhere or nowhere.
   - Floats: IEEE comparisons, so a NaN on either side makes the relation
     false (bit 0); -0 equals +0. The Eps forms hold where the values are
     equal (infinities included) or |a - b| <= eps, the difference formed in
     single precision: a difference of exactly eps counts as equal. eps must
     be above zero (a NaN eps is refused).
   - A source whose only channel is its alpha channel (no channel of
     interest) has nothing to compare: res is left as it is and 0 returned.
   Statuses: the header check's with " Incorrect Image"; -5 for a res that is
   not 1U, depths, in place, data order, origin, the family's depth and a
   tolerance not above zero; -18 alpha channel; -15 channel counts; -4
   "Allocation failure" (temporary mask); -2 a tile callback that leaves
   tileData NULL. */
OZL_API OzlStatus OZL_CALL ozlLess(OzlImage *img1, OzlImage *img2, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlGreater(OzlImage *img1, OzlImage *img2, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlEqual(OzlImage *img1, OzlImage *img2, OzlImage *res);
/* Integer images (1U to 32S) against a constant. */
OZL_API OzlStatus OZL_CALL ozlLessS(OzlImage *img, int value, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlGreaterS(OzlImage *img, int value, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlEqualS(OzlImage *img, int value, OzlImage *res);
/* 32F images against a constant. */
OZL_API OzlStatus OZL_CALL ozlLessSFP(OzlImage *img, float value, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlGreaterSFP(OzlImage *img, float value, OzlImage *res);
OZL_API OzlStatus OZL_CALL ozlEqualSFP(OzlImage *img, float value, OzlImage *res);
/* 32F images equal within eps (> 0). */
OZL_API OzlStatus OZL_CALL ozlEqualFPEps(OzlImage *img1, OzlImage *img2, OzlImage *res,
                                         float eps);
OZL_API OzlStatus OZL_CALL ozlEqualSFPEps(OzlImage *img, float value, OzlImage *res,
                                          float eps);

/* The smallest and the largest value of the processed channels of a 32F
   image's region. Pixels its mask excludes are skipped, and so are NaN values
   (-0 counts as below +0). When no pixel is processed (an empty region, every
   pixel masked out, or an image whose only channel is its alpha channel)
   nothing is stored; when every value is NaN both are stored as NaN. Returns
   0, or -5 ("Incorrect Image", NULL min or max, depth not 32F), or -2 (a tile
   callback that leaves tileData NULL). */
OZL_API OzlStatus OZL_CALL ozlMinMaxFP(OzlImage *srcImage, float *min, float *max);

/* ------------------------------------------------------------------------ */
/* Fill                                                                      */
/* ------------------------------------------------------------------------ */

OZL_API void OZL_CALL ozlSet(OzlImage *image, int fillValue);
OZL_API void OZL_CALL ozlSetFP(OzlImage *image, float fillValue);

/* ------------------------------------------------------------------------ */
/* Copy                                                                      */
/* ------------------------------------------------------------------------ */

/* Copies the common region of two images of one depth, bit for bit, with
   regions, channels of interest, masks and tiles. */
OZL_API void OZL_CALL ozlCopy(OzlImage *srcImage, OzlImage *dstImage);

/* ------------------------------------------------------------------------ */
/* Colour: model conversions, colour twist, colour to grey and back          */
/* ------------------------------------------------------------------------ */

/*
 * Colour-model conversions between a three-channel RGB image and another model,
 * source then destination. The RGB side has colorModel "RGB" and channelSeq
 * "RGB" or "BGR" (which sets where red and blue are); the other side has the
 * model's name in both fields (its channels in the order of the name, YCrCb as
 * Y, Cb, Cr). The source may have more than three channels (they are skipped),
 * the destination exactly three; depths, data orders and origins equal; no
 * region of interest on either image. The top-left overlap of the two images
 * is converted, tile by tile for tiled images. Depths: YUV, YCrCb and XYZ 8U,
 * 16U, 32S and 32F; HSV and HLS 8U, 16U and 32S (hue in half degrees 0..179
 * at every depth, the other channels over the depth's range); YCC to RGB 8U
 * (PhotoYCC); LUV 32F (RGB on 0..1, L on 0..100). Integer results saturate.
 * Statuses: the header check's, -5 (OZL_StsBadArg) for a model, channel
 * sequence, region, shape or depth that does not fit, -2 for a tile the
 * callback does not provide.
 */
OZL_API void OZL_CALL ozlRGB2HSV(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlHSV2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlRGB2HLS(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlHLS2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlRGB2XYZ(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlXYZ2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlRGB2YUV(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlYUV2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlRGB2YCrCb(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlYCrCb2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlYCC2RGB(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlRGB2LUV(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlLUV2RGB(OzlImage *src, OzlImage *dst);

/*
 * Colour twist record: sixteen integers (row-major 4 x 4, row i gives output
 * channel i, elements 0..2 weight input channels 0..2, element 3 is the
 * constant) meaning data / 2^scalingValue, scalingValue 0..31. Create and set
 * report -5 for a NULL pointer or a scale outside 0..31, create -4 when the
 * record cannot be allocated. Delete ignores NULL.
 */
OZL_API OzlColorTwist *OZL_CALL ozlCreateColorTwist(const int *data, int scalingValue);
OZL_API OzlStatus OZL_CALL ozlSetColorTwist(OzlColorTwist *cTwist, const int *data,
                                            int scalingValue);
OZL_API void OZL_CALL ozlDeleteColorTwist(OzlColorTwist *cTwist);

/*
 * Applies a twist to the first three channels of every pixel of the region of
 * interest (8U or 16U, equal depths, data orders and origins, at least three
 * channels, an alpha channel only as the last one): output i is the matrix row
 * times the three inputs plus its constant, divided by 2^scalingValue and
 * rounded half up, plus `offset`, saturated. Further channels of the
 * destination keep their values; a channel of interest is ignored; the masks of
 * both images combine. Statuses as ozlCheckImageHeader, -5 for the argument
 * checks, -4 when the combined mask cannot be allocated, -2 for a missing tile.
 */
OZL_API void OZL_CALL ozlApplyColorTwist(OzlImage *srcImage, OzlImage *dstImage,
                                         OzlColorTwist *cTwist, int offset);

/*
 * The same on 32F images with sixteen floats (no scale, no offset, no
 * saturation), in single precision.
 */
OZL_API void OZL_CALL ozlColorTwistFP(OzlImage *srcImage, OzlImage *dstImage,
                                      const float *TwistFP);

/*
 * RGB to one grey channel (source 8U, 16U or 32S, destination 8U, 16U or 1U,
 * any pair) and grey to RGB with a weight per channel (equal depths 8U, 16U or
 * 32S, or a 1U grey into 8U). The grey side has colorModel "Gray" or "GRAY"
 * and channelSeq beginning with "G", one channel in pixel order (its first
 * plane in plane order). Whole images, top-left overlap. Statuses as the
 * colour conversions.
 */
OZL_API void OZL_CALL ozlColorToGray(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlGrayToColor(OzlImage *src, OzlImage *dst, float FractR, float FractG,
                                     float FractB);

/* ------------------------------------------------------------------------ */
/* Test images                                                               */
/* ------------------------------------------------------------------------ */

/* A new one-channel image ("GRAY", pixel order, origin top-left, rows aligned
   to 8 bytes) holding the zone plate sin(pi * r * r / max(width, height)),
   r the distance from the image's centre ((width - 1) / 2, (height - 1) / 2):
   rings whose frequency grows with r and reaches 0.5 cycles per pixel at
   half the larger side. Integer depths span their whole range, mid-range at
   0 and rounded to the nearest level (8U: 127.5 + 127.5 * v); 1U sets the
   bits where the value is not negative; 32F holds the value itself, -1..1.
   Release with ozlDeallocate(image, OZL_IMAGE_ALL).
   Depths 1U, 8U, 8S, 16U, 16S, 32S, 32F. Statuses: -17 for another depth,
   -10 for a size below 1, -4 when memory runs out (each with NULL). */
OZL_API OzlImage *OZL_CALL ozlCreateImageJaehne(unsigned int depth, int width, int height);

#ifdef __cplusplus
}
#endif

#endif /* OZL_H */
