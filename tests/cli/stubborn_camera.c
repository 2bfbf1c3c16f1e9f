/*
 * A camera library that keeps the contract as badly as it may. The environment variable
 * STUBBORN_CAMERA says how:
 *   endless  CombineMultiFile and ConvertImagetoImage write half of the file under a name of their
 *            own and never return
 *   reading  CombineMultiFile reads the first three of its pictures before that
 *   counting CombineMultiFile says before that that it has made 7 of 80 pages
 *   crash    they abort
 *   slow     a frame every 1.5 seconds, from which a photograph of nothing can be made
 *   silent   no frame at all
 */
#include "library/include/korv_camera.h"

#include <errno.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static KorvCamera_FrameCallback receiver;
static pthread_t streamThread;
static atomic_int streaming;

static int is(const char *way)
{
    const char *wanted = getenv("STUBBORN_CAMERA");
    return wanted != NULL && strcmp(wanted, way) == 0;
}

static void *stream(void *unused)
{
    static char frame[16];
    (void)unused;
    for (int tenths = 0; streaming; ++tenths) {
        if (tenths % 15 == 0)
            receiver(frame, sizeof frame, 64, 48);
        usleep(100000);
    }
    return NULL;
}

static char *pages[8];
static int pageCount;

static int addPage(const char *path)
{
    if (pageCount < 8)
        pages[pageCount++] = strdup(path);
    return 0;
}

static void readPages(int count)
{
    static char content[65536];
    for (int i = 0; i < count && i < pageCount; ++i) {
        FILE *file = fopen(pages[i], "r");
        while (file != NULL && fread(content, 1, sizeof content, file) > 0) { }
        if (file != NULL)
            fclose(file);
    }
}

static int writeHalf(const char *path)
{
    char name[4096];
    if (is("crash"))
        abort();
    snprintf(name, sizeof name, "%s.half", path);
    FILE *file = fopen(name, "w");
    if (file != NULL) {
        fputs("half of it", file);
        fclose(file);
    }
    for (;;)
        pause();
}

static void endStream(void)
{
    if (atomic_exchange(&streaming, 0))
        pthread_join(streamThread, NULL);
}

/* clang-format off */
int KorvCamera_GetVersion(char *buf, int size) { snprintf(buf, (size_t)size, "stubborn"); return 8; }
int KorvCamera_Init(void) { return 0; }
int KorvCamera_UnInit(void) { endStream(); return 0; }
int KorvCamera_GetDevCount(void) { return 1; }
char *KorvCamera_GetOnLineDevList(void)
{
    return strdup("[{\"index\":0,\"name\":\"Stubborn\",\"vid\":1,\"pid\":2}]");
}
char *KorvCamera_GetWorkDevList(void) { return strdup("[]"); }
static void countPages(void)
{
    const char *path = getenv("KORV_CAMERA_PROGRESS");
    FILE *file = path != NULL ? fopen(path, "w") : NULL;
    if (file == NULL)
        return;
    fputs("7 80\n", file);
    fclose(file);
}

int KorvCamera_Open(int index) { (void)index; return 0; }
int KorvCamera_Close(int index) { (void)index; endStream(); return 0; }
char *KorvCamera_GetResolutionList(int index)
{
    (void)index;
    return strdup("[{\"res-no\":0,\"res-w\":64,\"res-h\":48}]");
}
int KorvCamera_GetCurResolutionNo(int index) { (void)index; return 0; }
int KorvCamera_SetCurResolutionNo(int index, int res_no) { (void)index; (void)res_no; return 0; }
int KorvCamera_StartCapture(int index, KorvCamera_FrameCallback cb)
{
    (void)index;
    receiver = cb;
    if (is("slow")) {
        streaming = 1;
        return -pthread_create(&streamThread, NULL, stream, NULL);
    }
    return 0;
}
int KorvCamera_StopCapture(int index) { (void)index; endStream(); return 0; }
int KorvCamera_RegCallBackCameraChange(KorvCamera_ChangeCallback cb) { (void)cb; return 0; }
int KorvCamera_SetImageColorStyle(int color) { (void)color; return 0; }
int KorvCamera_SetImageJPGQuality(int quality) { (void)quality; return 0; }
int KorvCamera_SetAutoCrop(int mode) { (void)mode; return 0; }
int KorvCamera_SetImageRotateMode(int mode) { (void)mode; return 0; }
int KorvCamera_YuYv422toRGB24(unsigned char *src, unsigned char *dst, unsigned int width,
                              unsigned int height, unsigned int reserved)
{
    (void)src; (void)dst; (void)width; (void)height; (void)reserved;
    return 0;
}
int KorvCamera_SaveVideoData(void *data, int width, int height, int reserved, const char *path)
{
    (void)data; (void)width; (void)height; (void)reserved;
    FILE *file = fopen(path, "w");
    return file != NULL && fclose(file) == 0 ? 0 : -errno;
}
int KorvCamera_SaveRGB888Image(char *data, int width, int height, int reserved, const char *path)
{
    (void)data; (void)width; (void)height; (void)reserved; (void)path;
    return 0;
}
int KorvCamera_ConvertImagetoImage(const char *src, const char *dst) { (void)src; return writeHalf(dst); }
int KorvCamera_AddImageFiletoMultiFile(const char *src) { return addPage(src); }
int KorvCamera_CombineMultiFile(const char *dst)
{
    if (is("counting"))
        countPages();
    if (is("reading"))
        readPages(3);
    return writeHalf(dst);
}
