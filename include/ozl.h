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
