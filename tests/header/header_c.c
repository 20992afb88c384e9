/* The public header as a strict C99 caller sees it, built with
   -std=c99 -Wall -Wextra -pedantic -Werror, and a few calls through it. */
#include "ozl.h"
#include "ozl.h" /* the include guard must make a second inclusion harmless */

#include <stddef.h>
#include <stdio.h>
#include <string.h>

/* Callers allocate and fill these records themselves, so their layout is part of
   the binary interface: 4-byte words, pointers in between. The image header is
   28 words, 112 bytes, wherever pointers are 32-bit. */
#define LAYOUT_CHECK(name, cond) typedef char layout_check_##name[(cond) ? 1 : -1]

LAYOUT_CHECK(status_size, sizeof(OzlStatus) == 4);
LAYOUT_CHECK(roi_size, sizeof(OzlROI) == 20);
LAYOUT_CHECK(roi_height, offsetof(OzlROI, height) == 16);
LAYOUT_CHECK(tile_size, sizeof(OzlTileInfo) == 3 * sizeof(void *) + 8);
LAYOUT_CHECK(image_depth, offsetof(OzlImage, depth) == 16);
LAYOUT_CHECK(image_height, offsetof(OzlImage, height) == 44);
LAYOUT_CHECK(image_roi, offsetof(OzlImage, roi) == 48);
LAYOUT_CHECK(image_size_32, sizeof(void *) != 4 || sizeof(OzlImage) == 112);
LAYOUT_CHECK(image_data_origin_32,
             sizeof(void *) != 4 || offsetof(OzlImage, imageDataOrigin) == 108);
LAYOUT_CHECK(image_size_64, sizeof(void *) != 8 || sizeof(OzlImage) == 144);
LAYOUT_CHECK(image_border_const_64,
             sizeof(void *) != 8 || offsetof(OzlImage, borderConst) == 116);
LAYOUT_CHECK(twist_size, sizeof(OzlColorTwist) == 68);
/* The bitmap records have the platform's bitmap layout everywhere. */
LAYOUT_CHECK(dib_header_size, sizeof(OzlBitmapInfoHeader) == 40);
LAYOUT_CHECK(dib_bit_count, offsetof(OzlBitmapInfoHeader, biBitCount) == 14);
LAYOUT_CHECK(dib_compression, offsetof(OzlBitmapInfoHeader, biCompression) == 16);
LAYOUT_CHECK(dib_clr_important, offsetof(OzlBitmapInfoHeader, biClrImportant) == 36);
LAYOUT_CHECK(rgb_quad_size, sizeof(OzlRgbQuad) == 4);
LAYOUT_CHECK(moment_state_size, sizeof(OzlMomentState) == 16 * 2 * sizeof(double));

/* The stock reports are usable wherever a report callback is expected. */
static OzlErrorCallBack const stockReports[] = {ozlNulDevReport, ozlStdErrReport,
                                                ozlGuiBoxReport};

static int failures = 0;

static void expect(int cond, const char *what)
{
    if (!cond) {
        fprintf(stderr, "header_c: failed: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    OzlErrorCallBack previous;
    const char *text;

    expect(sizeof stockReports / sizeof stockReports[0] == 3, "three stock reports");

    /* Calls through the C calling convention: arguments and results arrive intact. */
    ozlSetErrMode(OZL_ErrModeSilent);
    expect(ozlGetErrMode() == OZL_ErrModeSilent, "error mode round trip");
    ozlSetErrStatus(OZL_StsBadArg);
    expect(ozlGetErrStatus() == OZL_StsBadArg, "error status round trip");
    ozlSetErrStatus(OZL_StsOk);

    previous = ozlRedirectError(ozlNulDevReport);
    expect(ozlRedirectError(previous) == ozlNulDevReport, "callback round trip");

    text = ozlErrorStr(OZL_StsOk);
    expect(text != NULL && strcmp(text, "No Error") == 0, "status text of 0");

    if (failures == 0)
        printf("header_c: ok (sizeof(OzlImage) = %u)\n", (unsigned)sizeof(OzlImage));
    return failures == 0 ? 0 : 1;
}
