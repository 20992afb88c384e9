/* Adds two 8-bit grey images with saturation, as an application would. */
#include <stdio.h>

#include <ozl.h>

static OzlImage *makeGray(int width, int height, int value)
{
    OzlImage *image = ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "GRAY", "GRAY",
                                           OZL_DATA_ORDER_PIXEL, OZL_ORIGIN_TL,
                                           OZL_ALIGN_4BYTES, width, height, NULL, NULL,
                                           NULL, NULL);
    if (image == NULL)
        return NULL;
    ozlAllocateImage(image, 0, 0);
    ozlSet(image, value);
    return image;
}

int main(void)
{
    OzlImage *a, *b;
    int x, y, bad = 0;

    /* Report failures on stderr and return to the caller. */
    ozlSetErrMode(OZL_ErrModeParent);
    ozlRedirectError(ozlStdErrReport);

    a = makeGray(7, 5, 200);
    b = makeGray(7, 5, 100);
    if (a == NULL || b == NULL || a->imageData == NULL || b->imageData == NULL) {
        fprintf(stderr, "ozl_consumer: image allocation failed\n");
        return 1;
    }
    ozlAdd(a, b, a); /* 200 + 100 saturates to 255 */

    for (y = 0; y < a->height; ++y)
        for (x = 0; x < a->width; ++x)
            bad += (unsigned char)a->imageData[y * a->widthStep + x] != 255;

    ozlDeallocate(a, OZL_IMAGE_ALL);
    ozlDeallocate(b, OZL_IMAGE_ALL);

    if (bad != 0 || ozlGetErrStatus() != OZL_StsOk) {
        fprintf(stderr, "ozl_consumer: %d wrong pixels, status %d\n", bad,
                (int)ozlGetErrStatus());
        return 1;
    }
    printf("ozl_consumer: ok (%s %s)\n", ozlGetLibVersion()->name,
           ozlGetLibVersion()->version);
    return 0;
}
