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

/* The device-independent bitmap record is the system's own on Windows. Its
   headers are taken without their min and max macros unless the caller has
   asked for them already. */
#if defined(_WIN32)
#  if !defined(NOMINMAX)
#    define NOMINMAX
#    define OZL_DEFINED_NOMINMAX
#  endif
#  include <windows.h>
#  if defined(OZL_DEFINED_NOMINMAX)
#    undef NOMINMAX
#    undef OZL_DEFINED_NOMINMAX
#  endif
#endif

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
/* Device-independent bitmaps                                                */
/* ------------------------------------------------------------------------ */

/* The bitmap information header, followed in memory by the three colour masks
   of OZL_BI_BITFIELDS bitmaps (when biSize is 40), then the colour table of
   biClrUsed entries (2^biBitCount when 0 and biBitCount <= 8), and, in a packed
   bitmap, the pixel rows: bottom row first when biHeight > 0, top row first
   when it is negative, each padded to a multiple of 4 bytes. On Windows the
   system's BITMAPINFOHEADER and RGBQUAD; elsewhere records of the same
   layout. */
#if defined(_WIN32)
typedef BITMAPINFOHEADER OzlBitmapInfoHeader;
typedef RGBQUAD OzlRgbQuad;
#else
typedef struct OzlBitmapInfoHeader {
    uint32_t biSize;          /* bytes of this header: 40, or more for later forms */
    int32_t biWidth;
    int32_t biHeight;         /* > 0 bottom-up, < 0 top-down */
    uint16_t biPlanes;        /* 1 */
    uint16_t biBitCount;      /* 1, 4, 8 (colour table), 16, 24, 32 (direct colour) */
    uint32_t biCompression;   /* OZL_BI_RGB, or OZL_BI_BITFIELDS for 16 and 32 bits */
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} OzlBitmapInfoHeader;

typedef struct OzlRgbQuad {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
} OzlRgbQuad;
#endif

#define OZL_BI_RGB        0 /* palette indices, or 5-5-5 (16 bits), B G R (24), B G R A (32) */
#define OZL_BI_BITFIELDS  3 /* 16 or 32 bits whose red, green, blue masks follow the header */

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

/* A structuring element: nRows rows of nCols values, the element's places
   where a value is not zero, centred on (anchorX, anchorY). */
typedef struct OzlStructElement {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    const uint8_t *values;
} OzlStructElement;

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
/* Alpha compositing                                                         */
/* ------------------------------------------------------------------------ */

/* Porter-Duff operators of ozlAlphaComposite and ozlAlphaCompositeC: the
   result is A * FA + B * FB, colours and alpha alike, with the fractions
   FA, FB below (aA, aB the alphas, M the depth's maximum). */
#define OZL_COMPOSITE_CLEAR      0  /* FA 0,       FB 0       */
#define OZL_COMPOSITE_A          1  /* FA M,       FB 0       */
#define OZL_COMPOSITE_B          2  /* FA 0,       FB M       */
#define OZL_COMPOSITE_A_OVER_B   3  /* FA M,       FB M - aA  */
#define OZL_COMPOSITE_B_OVER_A   4  /* FA M - aB,  FB M       */
#define OZL_COMPOSITE_A_IN_B     5  /* FA aB,      FB 0       */
#define OZL_COMPOSITE_B_IN_A     6  /* FA 0,       FB aA      */
#define OZL_COMPOSITE_A_OUT_B    7  /* FA M - aB,  FB 0       */
#define OZL_COMPOSITE_B_OUT_A    8  /* FA 0,       FB M - aA  */
#define OZL_COMPOSITE_A_ATOP_B   9  /* FA aB,      FB M - aA  */
#define OZL_COMPOSITE_B_ATOP_A  10  /* FA M - aB,  FB aA      */
#define OZL_COMPOSITE_XOR       11  /* FA M - aB,  FB M - aA  */

/* Combines srcImageA and srcImageB into dstImage by the operator
   compositeType. 8U and 16U (M = 255, 65535), one depth throughout. A
   source's alpha comes from its alpha image when given (one channel to
   process), else from its own alpha channel, else it is opaque (M). Every
   product x * y / M is the whole quotient floor(x * y / M), computed as
   (p + (p >> b) + 1) >> b with p = x * y and b = 8 or 16, and sums saturate
   at M:
     alpha  = min(M, aA * FA / M + aB * FB / M);
     colour = min(M, cA * FA / M + cB * FB / M)          when premulAlpha != 0
              (colours premultiplied by their alpha, in and out);
     colour = (cA*aA*FA + cB*aB*FB + w/2) / w, w = aA*FA + aB*FB, 0 when w is 0,
              when premulAlpha == 0 (straight colours, in and out).
   The result alpha goes to the destination's alpha channel (when it has one
   and no channel of interest) or to alphaImageDst (only for a destination
   without alpha). The masks of dstImage, srcImageA and srcImageB apply,
   ANDed. Statuses (module ozlalpha, lines from 400): -5 for a NULL image
   ("dstImage==0", ...) (410), a header's own with "Incorrect Image" (411), an
   alpha channel that is not the last (412), a lone alpha channel without a ROI
   selecting it (420, 421), a depth other than 8U/16U (430) or unlike the
   destination's (431..435), channel counts (440), compositeType (445),
   alphaImageDst beside a destination alpha channel (446); masks (450..453);
   -2 "ERROR in Tiling callBack" (460), -4 "No working memory" (461). */
OZL_API void OZL_CALL ozlAlphaComposite(OzlImage *srcImageA, OzlImage *srcImageB,
                                        OzlImage *dstImage, int compositeType,
                                        OzlImage *alphaImageA, OzlImage *alphaImageB,
                                        OzlImage *alphaImageDst, int premulAlpha);

/* ozlAlphaComposite with constant alphas alphaA and alphaB (clamped to 0..M)
   in place of the images' own; the destination's alpha channel, if any,
   takes the result alpha. Lines from 600, as above. */
OZL_API void OZL_CALL ozlAlphaCompositeC(OzlImage *srcImageA, OzlImage *srcImageB,
                                         OzlImage *dstImage, int compositeType, int alphaA,
                                         int alphaB, int premulAlpha);

/* Multiplies the colours of srcImage by its alpha, floor(c * a / M) as in
   ozlAlphaComposite; the alpha comes from alphaImage when given, else from
   srcImage's alpha channel (-5 "srcImage->alphaChannel == 0 && alphaImage
   == 0" (845) with neither), and is copied to the destination's alpha channel
   when it has one. 8U and 16U; masks of dstImage and srcImage. Lines from
   800, as above. */
OZL_API void OZL_CALL ozlPreMultiplyAlpha(OzlImage *srcImage, OzlImage *dstImage,
                                          OzlImage *alphaImage);

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
/* Pixel access                                                              */
/* ------------------------------------------------------------------------ */

/* One pixel at column x, row y of the image (rows in memory order; the ROI's
   offsets and the mask do not apply), between the image and `pixel`: the
   values of every channel, alpha included, one after another in the image's
   own type (one byte per value for 1U, 0 or 1; a put takes bit 0), or only
   the channel of interest's value when the ROI selects one. A tiled image's
   tile is fetched for reading (get) or writing (put) and released. Any depth,
   either data order. Statuses (module ozlpixel; lines from 20 for
   ozlGetPixel, 60 for ozlPutPixel): a header's own with "Incorrect Image"
   (+0), -5 "pixel==0" (+1), -11 "x < 0 || x >= image->width" (+2) or
   "y < 0 || y >= image->height" (+3), -2 "Error get tile to read" / "...
   to write" (+5). */
OZL_API void OZL_CALL ozlGetPixel(const OzlImage *image, int x, int y, void *pixel);
OZL_API void OZL_CALL ozlPutPixel(OzlImage *image, int x, int y, const void *pixel);

/* ------------------------------------------------------------------------ */
/* Exchange and depth conversion                                             */
/* ------------------------------------------------------------------------ */

/* Swaps the common regions of two images of one depth, value for value, with
   ozlCopy's checks (all three agreements reported, then the channel count),
   regions, channels of interest, masks (one, shared, or two ANDed) and tiles
   (every tile either image touches is fetched for writing). Any depth.
   Statuses: a header's own (module ozlsce, lines 561, 562), -5 for a
   disagreement (563) or channel counts (566), -2 "Error get tile to write"
   (643), -4 (590). */
OZL_API void OZL_CALL ozlExchange(OzlImage *imageA, OzlImage *imageB);

/* The common part of the conversions below: the images' origins and processed
   channel counts must agree (data orders may differ: pixel order converts to
   plane order and back); masks as in ozlCopy; tiles fetched through their
   callbacks. Statuses (module ozlcvt, lines from each function's base b):
   a header's own with "Incorrect Image" (b, b + 1), depths -17 (b + 2),
   arguments -5 (b + 5), "srcImage->origin != dstImage->origin" -5 (b + 3),
   processed channels -5 (b + 4), "Error get tile to read" / "... to write"
   -2 (b + 11, b + 12), -4 "Not enough memory" (b + 13). */

/* Converts between any two depths (1U, 8U, 8S, 16U, 16S, 32S, 32F), value for
   value: integers saturate to the destination's range, floats are rounded to
   the nearest integer (ties to even) and saturated, NaN becomes 0, integers
   become the nearest float. 1U reads as 0 and 1 and takes 1 for every value
   that converts to 1 or more. Equal depths copy. Base line 40. */
OZL_API void OZL_CALL ozlConvert(OzlImage *srcImage, OzlImage *dstImage);

/* Maps the full range of one integer depth onto that of another, linearly and
   rounded to nearest (8U 0..255 onto 16S -32768..32767, 16U onto 8U ...);
   8U, 8S, 16U, 16S, 32S. 32F gives -17 "You should use ozlScaleFP for float
   images", 1U -17. Base line 100. */
OZL_API void OZL_CALL ozlScale(OzlImage *srcImage, OzlImage *dstImage);

/* Maps between an integer depth's full range and the float range
   minVal..maxVal, either way: one image 32F, the other 8U, 8S, 16U, 16S or
   32S. In single precision, r = (x - from) / fromSpan * toSpan + to, so both
   ends of a range map exactly; integer results are rounded to nearest (ties
   to even) and saturated. -5 "!(minVal < maxVal)" or "maxVal - minVal is not
   finite" (b + 5); -17 for two integer depths, two float images or 1U.
   Base line 160. */
OZL_API void OZL_CALL ozlScaleFP(OzlImage *srcImage, OzlImage *dstImage, float minVal,
                                 float maxVal);

/* A 1U image onto a grey image of any other depth: 0 bits become zeroScaled,
   1 bits oneScaled, each clamped to the destination's range. -17 for a source
   that is not 1U or a 1U destination. Base line 220. */
OZL_API void OZL_CALL ozlBitonalToGray(OzlImage *srcImage, OzlImage *dstImage, int zeroScaled,
                                       int oneScaled);

/* ------------------------------------------------------------------------ */
/* Device-independent bitmaps                                                */
/* ------------------------------------------------------------------------ */

/* Conversions between bitmaps (OzlBitmapInfoHeader above) and 8U images (1U
   for 1-bit bitmaps). An image whose region has one processed channel meets
   the bitmap's palette indices (1, 4, 8 bits: indices read as they are and
   written saturated to the index width; 1U images as 0 and 1); one with three
   meets colours, in the order its channel sequence names them ("RGB..." red
   first, any other blue first), its alpha channel (when it has one and no
   channel of interest) meeting the fourth byte of 32-bit OZL_BI_RGB pixels
   (255 when read from other bitmaps, 0 written when the image has no alpha).
   Colours are read through the palette (entries past the table are black),
   or widened from 16-bit and mask fields (x * 255 / (2^n - 1), rounded), and
   written as the palette's nearest entry (squared distance, lowest index on
   a tie), or narrowed back to the fields (rounded). The common size is the
   image region's and the bitmap's; rows are matched from the region's first
   row in memory and the bitmap's top row (images with origin top-left) or
   bottom row (bottom-left), so the picture stays upright. Images take their
   region, channel of interest, mask (the bitmap keeps its pixels where a
   source's mask is 0) and tiles. Statuses (module ozldib, lines from each
   function's base b): -5 "dib==0" (b), "dib->biSize < 40" (b + 1), -10
   "dib->biWidth < 1 || dib->biHeight == 0" (b + 2), -5 "dib->biPlanes != 1"
   (b + 3), "Unsupported dib->biBitCount" (b + 4), "Unsupported
   dib->biCompression" (b + 5; compressed bitmaps are not read), "dib->biClrUsed
   > 1 << dib->biBitCount" (b + 6), "Bad dib colour masks" (b + 7, a mask
   empty or with holes), -17 "image->depth != 8 && image->depth != 1" or -5
   for a 1U image and a direct-colour bitmap (b + 8), -5 for processed
   channels other than 1 and 3 or a direct-colour bitmap into one channel
   (b + 9), a header's own with "Incorrect Image" or -5 "dibBits==0" (b + 10),
   -2 "Error get tile to read" / "... to write" (b + 11, b + 12), -4 "Not
   enough memory" (b + 13). */

/* A packed bitmap into dstImage's region. Base line 30. */
OZL_API void OZL_CALL ozlConvertFromDIB(const OzlBitmapInfoHeader *dib, OzlImage *dstImage);
/* The same with the pixel rows at dibBits. Base line 70. */
OZL_API void OZL_CALL ozlConvertFromDIBSep(const OzlBitmapInfoHeader *dibHeader,
                                           const char *dibBits, OzlImage *dstImage);
/* srcImage's region into the packed bitmap the caller prepared (header,
   masks, colour table, rows). Base line 110. */
OZL_API void OZL_CALL ozlConvertToDIB(OzlImage *srcImage, OzlBitmapInfoHeader *dib);
/* The same with the pixel rows at dibBits. Base line 150. */
OZL_API void OZL_CALL ozlConvertToDIBSep(OzlImage *srcImage, OzlBitmapInfoHeader *dibHeader,
                                         char *dibBits);
/* A new image of a packed bitmap, release with ozlDeallocate(image,
   OZL_IMAGE_ALL). Rows of 1, 8, 24 and 32 bits (OZL_BI_RGB) are used where
   they are (1U or 8U "GRAY" for indices, 8U "BGR", 8U "BGRA" with an alpha
   channel; origin bottom-left for bottom-up bitmaps; *cloneData set to 0);
   4-bit indices become 8U and 16-bit and mask formats 8U "BGR", in the
   image's own data (*cloneData set to 1). cloneData may be NULL. Statuses as
   above from base line 190, and -10 "The bitmap's rows exceed 2 GB" (192);
   NULL on failure. */
OZL_API OzlImage *OZL_CALL ozlTranslateDIB(OzlBitmapInfoHeader *dib, int *cloneData);

/* ------------------------------------------------------------------------ */
/* Threshold and bit reduction                                               */
/* ------------------------------------------------------------------------ */

/* Values at or above threshold become the destination's maximum (255, 127,
   65535, 32767 or 2147483647; 1 in a 1U destination), the others 0. Sources
   8U, 8S, 16U, 16S, 32S; the destination of the same depth or 1U. A
   threshold at or below the depth's minimum selects every value, one above
   its maximum none. Statuses as the conversions' (module ozlthresh, base line
   30): -17 "srcImage->depth == 1 || srcImage->depth == 32" or "dstImage->depth
   != srcImage->depth && dstImage->depth != 1" (32). */
OZL_API void OZL_CALL ozlThreshold(OzlImage *srcImage, OzlImage *dstImage, int threshold);

/* Dithering of ozlReduceBits. */
#define OZL_DITHER_NONE             0 /* the low bits dropped */
#define OZL_DITHER_ORDERED          1 /* 8x8 ordered matrix, anchored at the region's corner */
#define OZL_DITHER_ERROR_DIFFUSION  2 /* Floyd-Steinberg, rows left to right */

/* Keeps the top nBits (1 to the depth's bits) of every 8U or 16U value, so
   that the results are the levels k * q, q = 2^(bits - nBits). Ordered
   dithering adds (2m + 1) * q / 128 for the pixel's rank m in the matrix
   before dropping the low bits (a flat area keeps its mean to within q / 128);
   error diffusion takes each value plus the error carried to it to the nearest
   level and passes the error on (7/16 right; 3/16, 5/16, 1/16 below), within
   the region. Same depth both sides. Statuses as the conversions' (module
   ozlreduce, base line 60): -17 "srcImage->depth != 8 && srcImage->depth !=
   16" or "srcImage->depth != dstImage->depth" (62); -5 "nBits < 1 || nBits >
   srcImage->depth" or "Unknown dither type" (65). */
OZL_API void OZL_CALL ozlReduceBits(OzlImage *srcImage, OzlImage *dstImage, int nBits,
                                    int ditherType);

/* ------------------------------------------------------------------------ */
/* Convolution kernels, 2-D and separable convolution                        */
/* ------------------------------------------------------------------------ */

/* Kernels are stored turned by 180 degrees; the queries give them back as they
   were created. The query's values argument points to the caller's pointer to
   a buffer of nCols * nRows elements. */
OZL_API OzlConvKernel *OZL_CALL ozlCreateConvKernel(int nCols, int nRows, int anchorX, int anchorY,
                                                    const int *values, int nShiftR);
OZL_API OzlConvKernel *OZL_CALL ozlCreateConvKernelChar(int nCols, int nRows, int anchorX,
                                                        int anchorY, const signed char *values,
                                                        int nShiftR);
OZL_API OzlConvKernelFP *OZL_CALL ozlCreateConvKernelFP(int nCols, int nRows, int anchorX,
                                                        int anchorY, const float *values);
OZL_API void OZL_CALL ozlGetConvKernel(const OzlConvKernel *kernel, int *nCols, int *nRows,
                                       int *anchorX, int *anchorY, int **values, int *nShiftR);
OZL_API void OZL_CALL ozlGetConvKernelChar(const OzlConvKernel *kernel, int *nCols, int *nRows,
                                           int *anchorX, int *anchorY, signed char **values,
                                           int *nShiftR);
OZL_API void OZL_CALL ozlGetConvKernelFP(const OzlConvKernelFP *kernel, int *nCols, int *nRows,
                                         int *anchorX, int *anchorY, float **values);
OZL_API void OZL_CALL ozlDeleteConvKernel(OzlConvKernel *kernel);
OZL_API void OZL_CALL ozlDeleteConvKernelFP(OzlConvKernelFP *kernel);

/* True convolution with 1 to 10 kernels, their outputs combined per pixel by
   combineMethod (OZL_COMBINE_...). Each kernel's output is shifted right by
   its nShiftR (rounding down; a negative shift, or one of 32 or more on a
   32-bit sum, leaves 0 or -1 by the sign) before combining; results saturate
   to the depth. Pixels outside the source read its border modes. 1U, 8U, 8S,
   16U, 16S, 32S; the FP form 32F only. The destination may be the source. */
OZL_API void OZL_CALL ozlConvolve2D(OzlImage *srcImage, OzlImage *dstImage,
                                    OzlConvKernel **kernel, int nKernels, int combineMethod);
OZL_API void OZL_CALL ozlConvolve2DFP(OzlImage *srcImage, OzlImage *dstImage,
                                      OzlConvKernelFP **kernel, int nKernels, int combineMethod);
/* A vertical then a horizontal kernel (either may be NULL), 32-bit sums and
   one shift by the sum of both kernels' nShiftR. 8U, 8S, 16U, 16S, 32S (1U is
   refused with status -5); the FP form 32F only. Not in place. A tile
   callback that leaves tileData NULL is reported with status -2. */
OZL_API void OZL_CALL ozlConvolveSep2D(OzlImage *srcImage, OzlImage *dstImage,
                                       OzlConvKernel *xKernel, OzlConvKernel *yKernel);
OZL_API void OZL_CALL ozlConvolveSep2DFP(OzlImage *srcImage, OzlImage *dstImage,
                                         OzlConvKernelFP *xKernel, OzlConvKernelFP *yKernel);

/* ------------------------------------------------------------------------ */
/* Rank, morphological and fixed filters                                     */
/* ------------------------------------------------------------------------ */

/* Every filter here reads an nCols x nRows window whose pixel (anchorX,
   anchorY) lies over the output pixel (or a structuring element), pixels
   outside the source taken from its border modes. Regions, channels of
   interest, alpha (left alone), masks, tiles and either data order; the
   destination may be the source. 32F values are ordered with -0 below +0 and
   NaNs beyond the infinities by their sign. Statuses: -5 for a window of no
   size or an anchor outside it, for images of different depths or data
   orders, different channel counts or a channel of interest on one side
   only; -11 for region offsets outside an image; -4 when memory runs out; -2
   when a tile callback leaves tileData NULL; header failures as
   ozlCheckImageHeader reports them. */

/* The least (ozlMinFilter) or greatest (ozlMaxFilter) value over the window.
   1U, 8U, 8S, 16U, 16S, 32S, 32F. */
OZL_API void OZL_CALL ozlMinFilter(OzlImage *srcImage, OzlImage *dstImage, int nCols, int nRows,
                                   int anchorX, int anchorY);
OZL_API void OZL_CALL ozlMaxFilter(OzlImage *srcImage, OzlImage *dstImage, int nCols, int nRows,
                                   int anchorX, int anchorY);

/* Erosion (least value over the element's places) and dilation (greatest),
   repeated `iterations` times; opening erodes `iterations` times then dilates
   as often, closing dilates then erodes. A NULL element is the 3 x 3 square
   centred on the pixel. Each pass after the first reads the previous pass's
   result over the region, with the source's border modes around it. 1U, 8U,
   8S, 16U, 16S, 32S, 32F. Statuses besides the common ones: -5 for an element
   of no size, an anchor outside it or no values ("Bad structuring element"),
   an element without places ("Empty structuring element"), iterations below
   1. */
OZL_API void OZL_CALL ozlErode(OzlImage *srcImage, OzlImage *dstImage,
                               const OzlStructElement *element, int iterations);
OZL_API void OZL_CALL ozlDilate(OzlImage *srcImage, OzlImage *dstImage,
                                const OzlStructElement *element, int iterations);
OZL_API void OZL_CALL ozlOpen(OzlImage *srcImage, OzlImage *dstImage,
                              const OzlStructElement *element, int iterations);
OZL_API void OZL_CALL ozlClose(OzlImage *srcImage, OzlImage *dstImage,
                               const OzlStructElement *element, int iterations);

/* The mean of the window, rounded to the nearest value (halves upward), from
   the exact sum; 32F sums the window's rows top to bottom, each column's sums
   left to right, then divides by the area. 1U (the majority, ties giving 1),
   8U, 8S, 16U, 16S, 32S, 32F. */
OZL_API void OZL_CALL ozlBlur(OzlImage *srcImage, OzlImage *dstImage, int nCols, int nRows,
                              int anchorX, int anchorY);

/* Fixed 3 x 3 and 5 x 5 kernels centred on the pixel, applied as correlation
   (kernels as written, row by row):
   PREWITT_VERT  -1 0 1 / -1 0 1 / -1 0 1    PREWITT_HORIZ  1 1 1 / 0 0 0 / -1 -1 -1
   SOBEL_VERT    -1 0 1 / -2 0 2 / -1 0 1    SOBEL_HORIZ    1 2 1 / 0 0 0 / -1 -2 -1
   LAPLACIAN_3x3  0 -1 0 / -1 4 -1 / 0 -1 0
   LAPLACIAN_5x5 -1 -3 -4 -3 -1 / -3 0 6 0 -3 / -4 6 20 6 -4 / -3 0 6 0 -3 / -1 -3 -4 -3 -1
   GAUSSIAN_3x3  1 2 1 / 2 4 2 / 1 2 1, divided by 16
   GAUSSIAN_5x5  the outer product of 1 4 6 4 1 with itself, divided by 256
   HIPASS_3x3    -1 everywhere, 8 in the centre; HIPASS_5x5 -1 everywhere, 24 in the centre
   SHARPEN       -1 everywhere, 16 in the centre, divided by 8.
   Integer depths take the exact sum, divide it rounding to nearest (halves
   upward) and saturate; 32F sums the products row by row in float and
   divides. 8U, 8S, 16U, 16S, 32S, 32F. Statuses besides the common ones: -5
   for an unknown filter, -17 for 1U. */
#define OZL_FIXED_PREWITT_VERT   0
#define OZL_FIXED_PREWITT_HORIZ  1
#define OZL_FIXED_SOBEL_VERT     2
#define OZL_FIXED_SOBEL_HORIZ    3
#define OZL_FIXED_LAPLACIAN_3x3  4
#define OZL_FIXED_LAPLACIAN_5x5  5
#define OZL_FIXED_GAUSSIAN_3x3   6
#define OZL_FIXED_GAUSSIAN_5x5   7
#define OZL_FIXED_HIPASS_3x3     8
#define OZL_FIXED_HIPASS_5x5     9
#define OZL_FIXED_SHARPEN        10
OZL_API void OZL_CALL ozlFixedFilter(OzlImage *srcImage, OzlImage *dstImage, int filter);

/* The median of the window: the value of rank nCols * nRows / 2 counted from
   0 in increasing order (for an even area the upper of the two middle
   values). 1U, 8U, 8S, 16U, 16S, 32S, 32F. Statuses besides the common ones:
   -5 for a window of more than 2^20 places. */
OZL_API void OZL_CALL ozlMedianFilter(OzlImage *srcImage, OzlImage *dstImage, int nCols, int nRows,
                                      int anchorX, int anchorY);
/* For images of 3 channels (besides alpha) in pixel order: every pixel takes
   the colour of the window's pixel whose summed absolute channel differences
   to all the window's pixels are least (the first such pixel, row by row).
   8U, 8S, 16U, 16S, 32S, 32F. Statuses besides the common ones: -15 for 1U,
   plane order, a channel of interest or another channel count; -5 for a
   window of more than 2^20 places. */
OZL_API void OZL_CALL ozlColorMedianFilter(OzlImage *srcImage, OzlImage *dstImage, int nCols,
                                           int nRows, int anchorX, int anchorY);

/* ------------------------------------------------------------------------ */
/* Geometric transforms: resampling, mirroring, warps, remapping             */
/* ------------------------------------------------------------------------ */

/*
 * Conventions shared by the geometric transforms.
 *
 * Coordinates. Each image's coordinates count from its region's top-left
 * pixel (the ROI offsets, or 0, 0), x to the right and y along the rows in
 * memory order (the origin field is not consulted). Pixel centres are at
 * integer coordinates: pixel (i, j) covers [i - 0.5, i + 0.5) x
 * [j - 0.5, j + 0.5). The source region of width W and height H covers
 * [-0.5, W - 0.5) x [-0.5, H - 0.5).
 *
 * Areas. The source's region is the area read and the destination's region
 * the area written. A destination pixel whose centre maps to a source position
 * outside the source region keeps its value, unless OZL_FILL_FROM_BORDER is
 * given (warps, rotation, shear, remapping). Masks: the destination's mask
 * (and for ozlRemap the maps' masks, at the destination's places) select the
 * pixels written; a source's mask is not used. Channels: both images process
 * their effective channels (one with a channel of interest, else all but the
 * alpha channel), and the counts must agree; the data orders may differ. Every
 * depth but 1U. Tiled images: a tiled destination is walked tile by tile; a
 * tiled source (or a source whose pixels the destination shares) is first
 * copied whole.
 *
 * Interpolation at source position (sx, sy):
 *   OZL_INTER_NN      the pixel (floor(sx + 0.5), floor(sy + 0.5)).
 *   OZL_INTER_LINEAR  x0 = floor(sx), fx = sx - x0 (likewise y0, fy):
 *                     (1-fy)((1-fx)p(x0,y0) + fx p(x0+1,y0))
 *                     + fy((1-fx)p(x0,y0+1) + fx p(x0+1,y0+1)).
 *   OZL_INTER_CUBIC   cubic convolution over 4 x 4 pixels (x0-1 .. x0+2) with
 *                     a = -0.5: w(t) = 1.5|t|^3 - 2.5|t|^2 + 1 for |t| <= 1,
 *                     -0.5|t|^3 + 2.5|t|^2 - 4|t| + 2 for 1 < |t| < 2; rows
 *                     first, then the column of row results.
 *   OZL_INTER_SUPER   resampling only: the exact area average of the source
 *                     over the destination pixel's footprint.
 * Neighbours beyond the source region's edges are the region's edge pixels
 * repeated, or with OZL_FILL_FROM_BORDER the source's border values.
 * Values are computed in double precision; integer results are rounded to
 * nearest, halves up (toward +infinity), and saturated to the depth; 32F
 * results are not clamped. 8U linear interpolation is fixed-point instead:
 * fractions rounded to 1/2048 (halves up) give the weights 2048 - w and w,
 * each row pair is summed as h = (p0 (2048 - wx) + p1 wx + 8) >> 4, and the
 * result is (h0 (2048 - wy) + h1 wy + 131072) >> 18. So is 8U cubic
 * interpolation: the weights w0, w1, w3 of each axis rounded to 1/2048
 * (halves up) and w2 = 2048 - w0 - w1 - w3, each row summed as
 * h = (p0 w0 + p1 w1 + p2 w2 + p3 w3 + 16) >> 5, and the result
 * (h0 w0 + h1 w1 + h2 w2 + h3 w3 + 65536) >> 17, saturated.
 *
 * OZL_FILL_FROM_BORDER, ORed into the interpolation of a warp, rotation, shear
 * or remap: pixels beyond the source region's edges read as the source's
 * border modes say (ozlSetBorderMode; applied at the region's edges: slot 0
 * above, 1 below, 2 left, 3 right; mode 0 the side's constant, 32F images
 * every side's from slot 0; 1 the edge repeated; 2 mirrored with the edge
 * repeated; 3 wrapped around; rows above and below take their side's mode for
 * both coordinates), and every destination pixel is written, whatever its
 * source position (a position that is not a number leaves the pixel as it is).
 *
 * Statuses of every transform: the header check of each image ("Incorrect
 * Image", the status ozlCheckImageHeader left); -5 for depths that differ, a
 * 1U image, effective channel counts that differ, an unknown interpolation,
 * and the parameter checks each function lists; -4 "Out of memory"; -2 "Error
 * get tile to read" / "Error get tile to write" when a tile callback leaves
 * tileData NULL. A refused call leaves the destination untouched.
 */
#define OZL_INTER_NN      0
#define OZL_INTER_LINEAR  1
#define OZL_INTER_CUBIC   2
#define OZL_INTER_SUPER   3
#define OZL_FILL_FROM_BORDER  0x100

/* Resampling by the rational factors xDst/xSrc and yDst/ySrc: destination
   pixel (x, y) has its centre at source position
   ((x + 0.5) xSrc/xDst - 0.5, (y + 0.5) ySrc/yDst - 0.5), so that the regions'
   outer edges meet. The pixels written are those whose centres map into the
   source region: floor((2 W xDst + xSrc - 1) / (2 xSrc)) columns and likewise
   rows, within the destination region. Neighbours beyond the source region
   are its edge pixels repeated. Super-sampling averages the source over the
   pixel's footprint [x xSrc/xDst, (x + 1) xSrc/xDst) (source pixel i covering
   [i, i + 1)), weighting each source pixel by the area it shares with it; for
   integer shrink factors that is the mean of each block. -5 when a factor term
   is not positive, or exceeds 65536 once the factor is reduced; ozlZoom
   refuses factors below 1 and ozlDecimate factors above 1. */
OZL_API void OZL_CALL ozlZoom(OzlImage *srcImage, OzlImage *dstImage, int xDst, int xSrc,
                              int yDst, int ySrc, int interpolate);
OZL_API void OZL_CALL ozlDecimate(OzlImage *srcImage, OzlImage *dstImage, int xDst, int xSrc,
                                  int yDst, int ySrc, int interpolate);
OZL_API void OZL_CALL ozlResize(OzlImage *srcImage, OzlImage *dstImage, int xDst, int xSrc,
                                int yDst, int ySrc, int interpolate);

/* Mirroring axes. */
#define OZL_MIRROR_HORIZONTAL  0   /* about the horizontal axis: rows upside down */
#define OZL_MIRROR_VERTICAL    1   /* about the vertical axis: columns reversed */
#define OZL_MIRROR_BOTH       (-1) /* both: a half turn */

/* Mirrors the common size of the two regions (the smaller width and height):
   with width w and height h, destination (x, y) takes source (w-1-x, y),
   (x, h-1-y) or (w-1-x, h-1-y). In place when srcImage and dstImage are the
   same. -5 for another flipAxis. */
OZL_API void OZL_CALL ozlMirror(OzlImage *srcImage, OzlImage *dstImage, int flipAxis);

/* Affine warp: coeffs map source coordinates to destination coordinates,
   xd = c[0][0] xs + c[0][1] ys + c[0][2], yd = c[1][0] xs + c[1][1] ys + c[1][2];
   each destination pixel takes the source at the inverse image of its centre.
   Interpolation NN, LINEAR or CUBIC, with OZL_FILL_FROM_BORDER if wanted. -5
   for NULL coeffs, and for coefficients that are not finite or whose 2 x 2
   part is singular. */
OZL_API void OZL_CALL ozlWarpAffine(OzlImage *srcImage, OzlImage *dstImage,
                                    const double coeffs[2][3], int interpolate);
/* The corners of the source region (the centres of its corner pixels) mapped
   by coeffs, in the order (0, 0), (W-1, 0), (W-1, H-1), (0, H-1). -5 for NULL
   arguments; the header check for srcImage. */
OZL_API void OZL_CALL ozlGetAffineQuad(OzlImage *srcImage, const double coeffs[2][3],
                                       double quad[4][2]);
/* The bounding box of that quadrangle: rect[0] = {xmin, ymin},
   rect[1] = {xmax, ymax}. */
OZL_API void OZL_CALL ozlGetAffineBound(OzlImage *srcImage, const double coeffs[2][3],
                                        double rect[2][2]);
/* The coefficients that map the source region's corners (0, 0), (W-1, 0) and
   (0, H-1) onto quad[0], quad[1] and quad[3] (an affine map takes the
   rectangle to a parallelogram; quad[2] is not read). -5 for NULL arguments
   and for a region 1 pixel wide or high. */
OZL_API void OZL_CALL ozlGetAffineTransform(OzlImage *srcImage, double coeffs[2][3],
                                            const double quad[4][2]);

/* Rotation by angle degrees (counter-clockwise as seen with y downwards) about
   the origin, then a shift: xd = xs cos + ys sin + xShift,
   yd = -xs sin + ys cos + yShift; otherwise as ozlWarpAffine. */
OZL_API void OZL_CALL ozlRotate(OzlImage *srcImage, OzlImage *dstImage, double angle,
                                double xShift, double yShift, int interpolate);
/* The shifts that make ozlRotate turn about (xCenter, yCenter). -5 for NULL
   outputs. */
OZL_API void OZL_CALL ozlGetRotateShift(double xCenter, double yCenter, double angle,
                                        double *xShift, double *yShift);
/* Shear: xd = xs + xShear ys + xShift, yd = yShear xs + ys + yShift; otherwise
   as ozlWarpAffine (-5 when xShear yShear = 1). */
OZL_API void OZL_CALL ozlShear(OzlImage *srcImage, OzlImage *dstImage, double xShear,
                               double yShear, double xShift, double yShift, int interpolate);

/* Bilinear warp: xd = c[0][0] xs ys + c[0][1] xs + c[0][2] ys + c[0][3], and yd
   likewise with c[1]. Each destination pixel takes the source at the
   preimage of its centre: of the (at most two) preimages the one inside the
   source region, else the nearer to it. -5 for NULL coeffs or coefficients
   that are not finite. */
OZL_API void OZL_CALL ozlWarpBilinear(OzlImage *srcImage, OzlImage *dstImage,
                                      const double coeffs[2][4], int interpolate);
/* ozlWarpBilinear with the transform that takes the source region's corners
   (0, 0), (W-1, 0), (W-1, H-1), (0, H-1) onto quad[0..3]. -5 for NULL quad and
   a region 1 pixel wide or high. */
OZL_API void OZL_CALL ozlWarpBilinearQ(OzlImage *srcImage, OzlImage *dstImage,
                                       const double quad[4][2], int interpolate);
OZL_API void OZL_CALL ozlGetBilinearQuad(OzlImage *srcImage, const double coeffs[2][4],
                                         double quad[4][2]);
OZL_API void OZL_CALL ozlGetBilinearBound(OzlImage *srcImage, const double coeffs[2][4],
                                          double rect[2][2]);
OZL_API void OZL_CALL ozlGetBilinearTransform(OzlImage *srcImage, double coeffs[2][4],
                                              const double quad[4][2]);

/* Perspective warp: with w = c[2][0] xs + c[2][1] ys + c[2][2],
   xd = (c[0][0] xs + c[0][1] ys + c[0][2]) / w and yd likewise with c[1].
   -5 for NULL coeffs, coefficients that are not finite, or a singular matrix.
   The bound and quad helpers assume the source region does not reach the
   line where w = 0 (they map its corners). */
OZL_API void OZL_CALL ozlWarpPerspective(OzlImage *srcImage, OzlImage *dstImage,
                                         const double coeffs[3][3], int interpolate);
/* ozlWarpPerspective with the transform that takes the source region's corners
   onto quad[0..3] (c[2][2] = 1). -5 for NULL quad, a region 1 pixel wide or
   high, and a quadrangle with three vertices on a line. */
OZL_API void OZL_CALL ozlWarpPerspectiveQ(OzlImage *srcImage, OzlImage *dstImage,
                                          const double quad[4][2], int interpolate);
OZL_API void OZL_CALL ozlGetPerspectiveQuad(OzlImage *srcImage, const double coeffs[3][3],
                                            double quad[4][2]);
OZL_API void OZL_CALL ozlGetPerspectiveBound(OzlImage *srcImage, const double coeffs[3][3],
                                             double rect[2][2]);
OZL_API void OZL_CALL ozlGetPerspectiveTransform(OzlImage *srcImage, double coeffs[3][3],
                                                 const double quad[4][2]);

/* Remapping: destination pixel (x, y) takes the source at (xMap(x, y),
   yMap(x, y)), the maps being 32F images with one effective channel read at
   the destination's places (their regions anchored at their own offsets). The
   pixels written are the common size of the destination's and the maps'
   regions. -5 for maps that are not 32F or have more than one effective
   channel. */
OZL_API void OZL_CALL ozlRemap(OzlImage *srcImage, OzlImage *dstImage, OzlImage *xMap,
                               OzlImage *yMap, int interpolate);

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
 * Choices where the arithmetic is ours: HLS has the HSV hue, L = (max + min + 1)
 * / 2 and S = M d / min(max + min, 2M - max - min) (M the depth's full scale,
 * 2^31 - 1 for 32S, negative 32S samples read as 0), and back the chroma
 * S min(2L, 2M - 2L) / M through the HSV sectors; HSV on 16U and 32S is the 8U
 * recipe at the depth's scale. XYZ 8U uses the matrices in units of 1/8192
 * with rounding, 16U and 32S double precision rounded half up (as every 32S
 * path). YCrCb back to 8U and 16U: weights in units of 1/16384, rounded,
 * chroma centred on 128 and 32768. YCC: luma times 1.3584, chroma centred on
 * 156 and 137, scaled by 2.2179 and 1.8215. LUV: L = (29/3)^3 Y below (6/29)^3;
 * black gives U = V = 0, and L = 0 comes back as black.
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
 * plane in plane order). Whole images, top-left overlap. Grey from 16U is
 * (13933 R + 46871 G + 4732 B) >> 16; to 16U an 8U grey is times 257, to 1U a
 * grey is set from half the scale up. Grey to colour: a weight below 1 in
 * magnitude is a factor of 1/32768, else of 1/256 (saturated), the product
 * rounded half up and saturated; a 1U grey is 0 or 255. Statuses as the colour
 * conversions.
 */
OZL_API void OZL_CALL ozlColorToGray(OzlImage *src, OzlImage *dst);
OZL_API void OZL_CALL ozlGrayToColor(OzlImage *src, OzlImage *dst, float FractR, float FractG,
                                     float FractB);

/* ------------------------------------------------------------------------ */
/* Statistics: histograms and look-up tables, moments, norms                 */
/* ------------------------------------------------------------------------ */

/*
 * lut is an array of table pointers indexed by channel: with a channel of
 * interest c the first processed channel uses lut[c - 1], else lut[0], the
 * following channels the following entries. Histogram size: 2 levels for 1U,
 * 256 for 8U, 65536 for 16U. Keys must start at 0 or above, end at the
 * histogram size or below and never decrease (status -5 otherwise). Only the
 * pixels the masks admit are counted or written.
 *
 * ozlComputeHisto: value[i] = number of pixels with key[i] <= v < key[i+1]
 * (32-bit counts), for 1U, 8U and 16U images; -5 for a NULL lut and for
 * signed or float depths, -4 without memory.
 * ozlContrastStretch: maps 8U or 16U src into dst: levels of bin i to value[i]
 * (step) or value[i] + (v - key[i]) * factor[i] (linear, wrapping to the
 * depth's width); levels outside the keys unchanged. -5 for unequal depths,
 * other depths, data order, origin or channel counts, and for a linear table
 * without factor.
 * ozlHistoEqualize: equalises src into dst from the binned counts in the
 * tables, then refills the tables (the destination's channel of interest
 * picks them) with the binned counts of the result; -3 "All values in
 * histogram are zeroes" when a channel's counts add up to 0, leaving image
 * and tables as they were.
 */
OZL_API void OZL_CALL ozlComputeHisto(OzlImage *srcImage, OzlLUT **lut);
OZL_API void OZL_CALL ozlContrastStretch(OzlImage *srcImage, OzlImage *dstImage, OzlLUT **lut);
OZL_API void OZL_CALL ozlHistoEqualize(OzlImage *srcImage, OzlImage *dstImage, OzlLUT **lut);

/*
 * Moments of one channel (the channel of interest; -5 "Only one channel can
 * be proceed" for a multi-channel image without one) of the region, up to
 * order 3 (-5 "Illegal order of moment" beyond; result 0.0). x and y are the
 * pixel's column and row in the image. Every depth: integer depths (1U as 0
 * and 1) are summed exactly and rounded once; 32F in double precision. Masked
 * pixels take no part. An empty region leaves the state alone and gives 0.0.
 * Normalised moments divide by the region's size (W^m H^n), not by powers of
 * M00; ozlNormalizedSpatialMoment forms W^m H^n in wrapping 32-bit arithmetic.
 */
OZL_API void OZL_CALL ozlMoments(OzlImage *image, OzlMomentState state);
OZL_API double OZL_CALL ozlGetSpatialMoment(OzlMomentState state, int m, int n);
OZL_API double OZL_CALL ozlGetNormalizedSpatialMoment(OzlMomentState state, int m, int n);
OZL_API double OZL_CALL ozlGetCentralMoment(OzlMomentState state, int m, int n);
OZL_API double OZL_CALL ozlGetNormalizedCentralMoment(OzlMomentState state, int m, int n);
OZL_API double OZL_CALL ozlSpatialMoment(OzlImage *image, int m, int n);
OZL_API double OZL_CALL ozlNormalizedSpatialMoment(OzlImage *image, int m, int n);
OZL_API double OZL_CALL ozlCentralMoment(OzlImage *image, int m, int n);
OZL_API double OZL_CALL ozlNormalizedCentralMoment(OzlImage *image, int m, int n);

/*
 * The norm of srcImageA's region (srcImageB NULL: OZL_C, OZL_L1, OZL_L2) or of
 * the difference A - B (also OZL_RELATIVEC, OZL_RELATIVEL1, OZL_RELATIVEL2:
 * divided by B's norm) over every processed channel (the channel of interest,
 * or all but alpha). Every depth; integer depths (1U as 0 and 1) are summed
 * exactly and rounded once, 32F in double precision. B's region starts at its
 * own offsets; both regions are cut to the smaller one. A pixel counts when
 * every mask given (A's, B's) has its bit set. Tiles: maxima and sums of the
 * tiles combined. Returns -1.0 with -5 "Zero divided" for a zero denominator,
 * -2.0 with status -2 when a tile cannot be fetched; 0.0 on argument failures.
 */
OZL_API double OZL_CALL ozlNorm(OzlImage *srcImageA, OzlImage *srcImageB, int normType);

/* ------------------------------------------------------------------------ */
/* Frequency transforms                                                      */
/* ------------------------------------------------------------------------ */

/*
 * Flags of ozlRealFft2D and ozlCcsFft2D: one direction, plus one scaling (N is
 * the number of values transformed, width * height of the real region).
 */
#define OZL_FFT_FORWARD        1
#define OZL_FFT_INVERSE        2
#define OZL_FFT_SCALE_INVERSE  0   /* the inverse divided by N (the default) */
#define OZL_FFT_SCALE_FORWARD  4   /* the forward divided by N */
#define OZL_FFT_SCALE_SQRT     8   /* both divided by sqrt(N) */
#define OZL_FFT_SCALE_NONE     12  /* neither */
#define OZL_FFT_SCALE_MASK     12

/* Flags of ozlDCT2D: exactly one of them. */
#define OZL_DCT_FORWARD  1
#define OZL_DCT_INVERSE  2

/* Flag of ozlMpyRCPack2D: multiply by the conjugate of the second spectrum. */
#define OZL_MPY_CONJUGATE  1

/*
 * Fourier transforms of real images. The forward transform of a W x H region
 * f (any sizes; lengths made of the factors 2, 3 and 5 are the fastest) is
 *     X(u, v) = s * sum over x < W, y < H of f(x, y) e^(-2 pi i (u x / W + v y / H)),
 * s the scaling of the flags; the inverse has e^(+...) and its own scaling, and
 * gives f back when the two scalings multiply to 1/N. X(W-u, H-v) is the
 * conjugate of X(u, v), so half the spectrum describes it all. Two layouts:
 *
 * Packed (ozlRealFft2D): W x H real values, the size of the image region.
 *  - Columns 1 .. W-2 (W even) or 1 .. W-1 (W odd): in every row v, the pairs
 *    Re X(u, v), Im X(u, v) at columns 2u-1, 2u, for u = 1 .. (W-1)/2.
 *  - Column 0: the column u = 0 packed down the rows: row 0 Re X(0, 0), then
 *    rows 2v-1, 2v Re X(0, v), Im X(0, v) for v = 1 .. (H-1)/2, and for even H
 *    the last row Re X(0, H/2).
 *  - Column W-1, for even W: the column u = W/2 packed the same way.
 * CCS (ozlCcsFft2D): 2 (W/2 + 1) x H real values: in every row v, the pairs
 *    Re X(u, v), Im X(u, v) at columns 2u, 2u+1, for u = 0 .. W/2. The inverse
 *    reads the columns u = 0 and (W even) u = W/2 in rows v = 0 .. H/2 only and
 *    takes their values at v = 0 and (H even) v = H/2 as real; the other rows
 *    of those columns follow from the symmetry.
 *
 * Forward (OZL_FFT_FORWARD): srcImage is the real image, of any depth but 1U
 * (integers are taken as floats), dstImage the spectrum, 32F. Inverse
 * (OZL_FFT_INVERSE): srcImage is the spectrum, 32F, dstImage the real image, of
 * any depth but 1U; integer depths take each value rounded to nearest (ties to
 * even) and saturated, NaN as 0. Integer images of 8 and 16 bits come back
 * exactly from a forward and inverse pair. Every processed channel (the channel
 * of interest, or all but alpha) is transformed on its own; the two images must
 * have as many. The real region sets the size; the spectrum region must be the
 * size of its layout. Pixel and plane order, tiled images (fetched whole) and
 * the same image as source and destination are accepted; masks are not.
 * Accuracy (single-precision arithmetic, tables rounded once from double
 * precision; measured on images up to 2048 x 2048 and lines of 65536): every
 * spectrum value lies within 2e-6 s sqrt(sum f^2) of the exact one, and a
 * forward and inverse pair gives every value back within 2e-6 of the image's
 * largest magnitude.
 * Statuses: the header check's ("Incorrect Image"); -5 bad flags or a mask;
 * -17 a depth; -15 channel counts; -25 region sizes; -4 out of memory; -2 a
 * tile callback left tileData NULL. An empty region leaves everything as is.
 */
OZL_API void OZL_CALL ozlRealFft2D(OzlImage *srcImage, OzlImage *dstImage, int flags);
OZL_API void OZL_CALL ozlCcsFft2D(OzlImage *srcImage, OzlImage *dstImage, int flags);

/*
 * Element-wise product of two spectra in the packed layout of ozlRealFft2D:
 * the real entries multiplied as reals, the pairs as complex numbers, by the
 * conjugate of srcImageB's with OZL_MPY_CONJUGATE (flags 0 or that). The inverse
 * of the product of two forward transforms is then the circular convolution of
 * the images (with OZL_MPY_CONJUGATE their circular correlation). All three
 * images 32F with equal channel counts and region sizes; the destination may be
 * either source. Statuses as for ozlRealFft2D: header check, -5 flags or a mask,
 * -17 a depth, -15 channels, -25 sizes, -4 memory, -2 tiles.
 */
OZL_API void OZL_CALL ozlMpyRCPack2D(OzlImage *srcImageA, OzlImage *srcImageB,
                                     OzlImage *dstImage, int flags);

/*
 * Orthonormal 2-D cosine transform over the whole W x H region (no blocks):
 *     C(u, v) = a(u) b(v) sum over x < W, y < H of
 *               f(x, y) cos(pi (2x + 1) u / 2W) cos(pi (2y + 1) v / 2H),
 * a(0) = sqrt(1/W), a(u) = sqrt(2/W) otherwise, b likewise with H; the inverse
 * (OZL_DCT_INVERSE) is its transpose and gives f back. Depths, channels,
 * layouts, tiles and statuses as for ozlRealFft2D (forward: any source depth
 * but 1U into 32F; inverse: 32F into any depth but 1U, rounded and saturated);
 * both regions of one size. Accuracy: every coefficient within
 * 2e-6 sqrt(sum f^2 / N) of the exact one, N = W H; round trips as for
 * ozlRealFft2D.
 */
OZL_API void OZL_CALL ozlDCT2D(OzlImage *srcImage, OzlImage *dstImage, int flags);

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
