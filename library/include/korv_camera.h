/*
 * The camera library's C contract: 24 entry points and two callbacks.
 *
 * The application never links against an implementation; it opens one at run time and looks the
 * entry points up by name. Any library that keeps this contract can stand behind the application,
 * and this library can stand behind any program that keeps it.
 *
 * Conventions
 *  - Results: 0 or more is success, a negative value is failure: minus an errno of <errno.h>.
 *  - Device index: the number a device carries from its "add" event to its "remove" event. Indices
 *    are small, start at 0, and the lowest free one is given out first. A device that leaves while it
 *    is open keeps its index until Close.
 *  - Paths are NUL-terminated byte strings as the file system takes them (UTF-8 by convention).
 *  - Texts that a function returns are allocated with malloc(); the caller frees them.
 *  - Options (quality, crop, rotation, colour) belong to the process, not to a device. A value out
 *    of range is refused with -EINVAL and changes nothing.
 *  - Every function may be called from any thread. Calls that change the same device wait for each
 *    other; questions (counts, lists, the resolution in use), options and files never wait for a
 *    device.
 *  - A working file is one whose name begins with a dot and ends in "-preview-", four or more digits
 *    and ".jpg": ".desk-preview-0001.jpg". Its program has not exported it yet, and deletes it after
 *    the export even if the export failed, as the application does. The library makes sure that no
 *    photograph is lost by that: SaveVideoData destroys none that is there already, and a failed
 *    export keeps its sources. Under other names nobody deletes anything, and nothing is kept.
 *  - Unfinished files lie in the new file's folder, nameless or as ".korv-*.part". Those of programs
 *    on this machine that are gone, and empty files that only held a name for them, are cleared when
 *    a program makes its first file in the folder.
 *  - No descriptor of the library's is 0, 1 or 2, also when the program has closed those.
 *  - Options and files need no Init. Everything else answers -ENODEV, or null, before Init and after
 *    UnInit.
 *  - From inside a frame callback, Init, UnInit, Open, Close, StartCapture, StopCapture,
 *    SetCurResolutionNo and RegCallBackCameraChange answer -EDEADLK and do nothing: they may have to
 *    wait for that very callback to return. From inside a change callback, Init and UnInit do.
 *    Everything else may be called from inside a callback.
 *  - Once loaded, the library stays in memory until the process ends: dlclose(3) is safe at any time,
 *    also while a driver hangs, but ends nothing. Call UnInit before it: until then callbacks go on.
 *  - exit(3), or the return from main, ends what UnInit would have ended. Inside a callback, exit(3)
 *    waits for nothing: no callback begins afterwards, but one in another thread may still be
 *    running. A later call, such as one from the destructor of a global object, is answered as after
 *    UnInit; Init answers -ENODEV then, and so does SaveVideoData with crop or lineart.
 *  - In a child made by fork(2) the library is as if just loaded, without devices, threads, options
 *    and pages; the child may call Init. Its parent's library goes on undisturbed, but a camera that
 *    was open at the fork may stay busy until the child, too, has ended or called exec. A child that
 *    is forked inside a callback must not return from it; Init answers -EDEADLK there.
 *  - The library's threads, and callbacks with them, block all signals but those of faults; so does
 *    a program that a callback starts, unless it is given another mask.
 *  - Diagnostics go to standard error; nothing is written to standard output. The environment
 *    variable KORV_LOG chooses how much: error, warning, info (the default) or debug.
 */
#ifndef KORV_CAMERA_H
#define KORV_CAMERA_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(KORV_CAMERA_BUILD)
#define KORV_CAMERA_API __attribute__((visibility("default")))
#else
#define KORV_CAMERA_API
#endif

/*
 * A device arrived or left. `json` is one object, allocated with malloc(); the receiver owns it and
 * calls free():
 *   {"action":"add"|"remove","index":0,"name":"...","vid":6935,"pid":529}
 * vid and pid are the USB ids, 0 for a device that has none. The name is UTF-8, holds no comma and
 * at most 63 bytes, and is never empty. Runs on the library's own event thread, one event at a time.
 */
typedef void (*KorvCamera_ChangeCallback)(char *json);

/*
 * One frame of a streaming device: `size` bytes at `data` are a complete JPEG of width x height
 * pixels, and size is less than width x height x 3. The bytes stay the library's and are valid until
 * the callback returns. Runs on the device's own stream thread, one frame at a time; a slow receiver
 * loses frames, the next one it sees is a new one. The result is ignored.
 */
typedef int (*KorvCamera_FrameCallback)(void *data, int size, int width, int height);

/* ---- library ---- */

/* Writes the version text, NUL-terminated and cut to `size` bytes, into `buf`.
 * Returns the text's full length; -EINVAL when buf is null or size is not positive. */
KORV_CAMERA_API int KorvCamera_GetVersion(char *buf, int size);

/* Makes the library ready and starts looking for devices. First it reads the settings files
 * /etc/korv-camera.conf and korv-camera.conf in $XDG_CONFIG_HOME, by default ~/.config; what is wrong
 * in them is reported on standard error and ignored. Calling it again while it is ready is
 * harmless and returns 0. Errors: -ENOMEM, -EMFILE, or what the system answered. */
KORV_CAMERA_API int KorvCamera_Init(void);

/* Closes every device, ends every thread and every program that recognises text, and forgets
 * callbacks, options and pending pages. No callback runs after it returned. -ENODEV when the library is not initialised. */
KORV_CAMERA_API int KorvCamera_UnInit(void);

/* ---- devices ---- */

/* The number of devices present; -ENODEV before Init. */
KORV_CAMERA_API int KorvCamera_GetDevCount(void);

/* The devices present, or those now open, as a JSON array of the objects that the change callback
 * gets, without "action", but with "node" ("/dev/video0") and "serial" (UTF-8) where the device has a
 * node or a serial number. The caller frees the text. Null before Init. */
KORV_CAMERA_API char *KorvCamera_GetOnLineDevList(void);
KORV_CAMERA_API char *KorvCamera_GetWorkDevList(void);

/* Opens a device. Errors: -ENODEV no such device, -EBUSY already open or held by another program,
 * -EACCES no permission, -ETIMEDOUT it does not answer. */
KORV_CAMERA_API int KorvCamera_Open(int index);

/* Ends the stream, if any, and closes the device. No frame callback runs after it returned. A
 * device that has left while it was open stays open, without frames, until this is called for it.
 * -ENODEV when the device is not open. */
KORV_CAMERA_API int KorvCamera_Close(int index);

/* The resolutions of an open device, largest first:
 *   [{"res-no":0,"res-w":3264,"res-h":2448}, ...]
 * res-no is stable for a model. The caller frees the text. Null when the device is not open. */
KORV_CAMERA_API char *KorvCamera_GetResolutionList(int index);

/* The res-no in use on an open device; -ENODEV when it is not open. */
KORV_CAMERA_API int KorvCamera_GetCurResolutionNo(int index);

/* Selects the resolution of the next stream. Errors: -ENODEV not open, -EINVAL no such number,
 * -EBUSY streaming. */
KORV_CAMERA_API int KorvCamera_SetCurResolutionNo(int index, int res_no);

/* Starts the stream of an open device. Errors: -EINVAL null callback, -ENODEV not open,
 * -ENODEV has left, -EBUSY already streaming or held by another program, -EIO it refuses. A device
 * that takes longer than half a second to answer counts as started; its frames arrive later,
 * or it leaves. */
KORV_CAMERA_API int KorvCamera_StartCapture(int index, KorvCamera_FrameCallback cb);

/* Ends the stream; the device stays open. No frame callback runs after it returned. -ENODEV not
 * open, -EINVAL not streaming. */
KORV_CAMERA_API int KorvCamera_StopCapture(int index);

/* Sets the one receiver of device events; null takes it away. Each device already present is
 * reported as "add" before anything else, on the library's thread. When another receiver is
 * replaced, it gets no event after this returned, except that a receiver that replaces itself from
 * inside its own call returns from that call first. -ENODEV before Init. */
KORV_CAMERA_API int KorvCamera_RegCallBackCameraChange(KorvCamera_ChangeCallback cb);

/* ---- options of photographs and files ---- */

/* 0 colour, 1 gray, 2 lineart (black and white only; a photograph of less than 250 dots per inch gets
 * twice the width and the height). Initially 0. */
KORV_CAMERA_API int KorvCamera_SetImageColorStyle(int color);

/* 1 to 100, for the following saves and conversions. Initially 95. */
KORV_CAMERA_API int KorvCamera_SetImageJPGQuality(int quality);

/* -1 off, 0 finds the sheet and cuts it out. Initially -1. */
KORV_CAMERA_API int KorvCamera_SetAutoCrop(int mode);

/* 0 none, 1 left by 90 degrees (counter-clockwise), 2 right by 90 degrees, 3 by 180. Initially 0. */
KORV_CAMERA_API int KorvCamera_SetImageRotateMode(int mode);

/* ---- pictures and files ---- */

/* Turns one YUYV 4:2:2 picture (width x height x 2 bytes, ITU-R BT.601, as USB cameras send it)
 * into 24-bit RGB (width x height x 3 bytes, rows without padding, the byte order R, G, B).
 * `reserved` is not used; pass 0. -EINVAL: null pointer, size 0 or over 65,500 a side, odd width. */
KORV_CAMERA_API int KorvCamera_YuYv422toRGB24(unsigned char *src, unsigned char *dst,
                                              unsigned int width, unsigned int height,
                                              unsigned int reserved);

/* Writes a photograph to `path` as JPEG, made from a frame as the frame callback delivered it, with
 * the options in force: crop, rotate, colour, encode, in that order. The frame's length is found by
 * its structure; no byte beyond width x height x 3 is read. The file appears whole or not at all.
 * An existing file is replaced; but a working file, which an ended program left or another one in
 * the same folder has taken, makes way first: it becomes "recovered-0001.jpg" beside it (next free
 * number, the extension of its content), and a line on standard error says so. When the photograph
 * cannot be made or written, it stays where it is; only when the last step fails, naming, may it
 * have made way already. Never waits for a stream: it may be called while the receiver holds a lock
 * that its frame callback wants. `reserved` is not used; pass 0.
 * Errors: -EINVAL null pointer, size not positive; -EFBIG a side over 65,500; -EBADMSG not a
 * complete JPEG; -ENOMEM; or what the file system answered.
 * KORV_CAMERA_CLEAN=yes in the environment, or clean = yes under [photographs] in the settings,
 * evens out the light in colour and gray. KORV_CAMERA_CHECK_FOCUS=yes, or check-focus = yes there:
 * standard error says when the writing in a photograph is out of focus; it is written all the same.
 * With nothing to change and a quality of 95 or more, or when the frame's own steps are as coarse
 * as the quality's, the file is the frame byte for byte, except that tables and a header that
 * strict readers require are added and a list of further pictures is dropped. A rotation alone
 * loses nothing where the frame's edges allow it. Every other photograph states the resolution at
 * which its long side is that of an A4 sheet, and in EXIF the date and, while exactly one device
 * streams, its name. The structure is checked, the coded data between the markers are not: where
 * bytes pass through, here or into a document, damage inside them goes unnoticed until somebody
 * decodes them. */
KORV_CAMERA_API int KorvCamera_SaveVideoData(void *data, int width, int height, int reserved,
                                             const char *path);

/* Writes width x height pixels of 24-bit RGB (rows without padding) as a new image file; the format
 * comes from the path's extension as in ConvertImagetoImage. Colour, crop and rotation options are
 * not applied. An existing file stays, as there. Errors as there. */
KORV_CAMERA_API int KorvCamera_SaveRGB888Image(char *data, int width, int height, int reserved,
                                               const char *path);

/* Converts the image file `src` to the new file `dst`. The extension of dst, in any case, chooses
 * the format: jpg, jpeg, png, bmp, tif, tiff, pdf, ofd. The format of src (JPEG, PNG, BMP, TIFF) is
 * recognised by its content. Pictures come out upright, transparent ones on white. Colours that an
 * ICC profile describes become sRGB; where a JPEG's bytes pass through, its profile comes along. At
 * a quality of 100, pixels that come from no JPEG enter pdf, ofd and tiff without loss. A TIFF of
 * many pages gives them all to pdf, ofd and tiff; a jpg, png or bmp is its first page, and standard
 * error says that there are more. Reduced pictures and masks in a TIFF do not count as pages. In
 * pdf, ofd and tiff a page without a resolution, with one of 72 or 96 dpi, which are common
 * placeholder values, or from a JPEG whose resolution would make it larger than A2, has the long
 * side of an A4 sheet. Title and page size may come from the settings files.
 * KORV_CAMERA_CLEAN_FILES=yes in the environment evens out the light on the pictures.
 * When the settings files, or at Init KORV_CAMERA_TEXT in the environment, name languages, the program
 * tesseract recognises the writing on pages of pdf and ofd documents, from the moment when a
 * photograph has been saved. The call then waits for the text of a page, by default 20 seconds at
 * most, and after two pages that took longer for no other. A page without text is a page all the
 * same; standard error says why it has none. With such languages, src may also be a pdf or ofd that
 * this library made without text, and dst of the same format: dst is then src with text. Documents of
 * other programs, encrypted or damaged ones, and those with text already are refused with -EBADMSG;
 * -ENODATA says that pages, or all of them, which makes no file, have no text.
 * In documents that get text, a page that was photographed on its side or on its head is turned
 * upright when its writing says for sure how it lies. At Init KORV_CAMERA_UPRIGHT=yes, or upright =
 * yes under [documents], has that done in all documents, and "no" in none; the environment goes
 * before the settings.
 * KORV_CAMERA_COMPACT=yes, or compact = yes under [documents] in the settings, stores pages of
 * writing in pdf in layers of ink and paper; the environment goes before the settings.
 * The file appears whole or not at all: it is written without a name or under a hidden one, synced,
 * named, and its folder synced.
 * An existing file is never touched: the new one takes the next free name of the form
 * "0001 (1).pdf", the result is 0, and standard error names it. Of two programs that want the same
 * name at the same time, each gets its own.
 * When it fails and src is a working file, src is kept, for its program deletes it: under the
 * further name "0001-rescued-0001.jpg" (next free number, the extension of its content) beside dst,
 * by a hard link, or by a copy where links are not possible; beside src when nothing can be made
 * there. With no room for a copy either, src itself gets such a name, and is no longer where it
 * was. Standard error names it. Any other src is left alone, and every src in a process whose
 * environment has a value for KORV_CAMERA_NO_RESCUE, which says that it deletes none. A null
 * pointer and an unknown extension are usage errors that a caller can detect beforehand: such calls
 * do nothing at all.
 * Errors: -EINVAL null pointer or unknown extension (nothing is written); -EBADMSG src is not a
 * readable picture; -EFBIG picture too large; -ENOENT, -ENOSPC ... what the file system answered.
 * When only the last step fails, syncing the folder, the whole new file stays. */
KORV_CAMERA_API int KorvCamera_ConvertImagetoImage(const char *src, const char *dst);

/* Adds an image file to the pending document. The file must stay in place until the document is
 * combined. A working file that is refused does not become a page, but the next combine keeps it
 * like a page that cannot be read. Errors: as ConvertImagetoImage for src. */
KORV_CAMERA_API int KorvCamera_AddImageFiletoMultiFile(const char *src);

/* Writes the pending pages, in the order they were added, to the new file `dst`: pdf, ofd, tif,
 * tiff by extension. An existing file is never touched, as in ConvertImagetoImage. The pending
 * document is empty afterwards in any case. A page that cannot be read does not spoil the document:
 * the others are written, standard error gives its number in the document that was asked for, its
 * file and why, the file is kept as in ConvertImagetoImage if it is a working file, and the result
 * is the first such error.
 * A TIFF's list of pages that breaks off, or runs in a circle, counts as one such page behind those
 * that it lists. When the document cannot be written, every working file is kept so. A tiff past
 * 4 GiB is a BigTIFF.
 * Three environment variables are read at each call. KORV_CAMERA_TITLE is the title, UTF-8; not set
 * or empty: the new file's name. KORV_CAMERA_PAGE_SIZE makes all pages one size: A3, A4, A5,
 * letter, card or WIDTHxHEIGHT in millimetres, 2 to 5000 each; upright or across as suits the
 * picture, which fills it as far as its shape allows and lies in the middle. In a tiff, which has
 * no paper, the resolution is the one at which the picture just fits. Any other size is reported on
 * standard error and ignored; not set or empty: as the settings files say, or each page is as large
 * as its picture. KORV_CAMERA_PROGRESS names a file that is there: while the document is made, it
 * begins with how many pages are through and how many there are, "12 80" and a line feed; the pages
 * of a TIFF count once it has been opened, until then as one.
 * Errors: -ENODATA no page pending; -EINVAL unknown extension (nothing is written or kept, as
 * there; the sources are where they were); -EFBIG a pdf past 10 GB; otherwise as there. */
KORV_CAMERA_API int KorvCamera_CombineMultiFile(const char *dst);

#ifdef __cplusplus
}
#endif

#endif /* KORV_CAMERA_H */
