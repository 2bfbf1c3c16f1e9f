/*
 * A stand-in for the camera library: the 24 entry points of library/include/korv_camera.h, which
 * record their calls and answer what a test has told them to.
 *
 * Link a test to the target scripted_camera and open the same file with CCameraSDK: both meet in
 * one copy. Every function may be called from any thread.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Forgets results, calls, callbacks, hook and photograph; call it first in every test. */
void fake_reset(void);

/* What an entry point (named without "KorvCamera_") returns from now on; 0 without. For those that
 * return a text, a negative value means null. */
void fake_set_result(const char *name, int value);

/* What its next call returns; several wait in line, the above holds when the line is empty. */
void fake_queue_result(const char *name, int value);

/* What GetResolutionList returns a malloc'ed copy of; null for a null pointer. Without a call:
 * [{"res-no":0,"res-w":640,"res-h":480}]. */
void fake_set_resolution_json(const char *text);

/* What GetOnLineDevList returns a malloc'ed copy of; "[]" without a call. */
void fake_set_devices_json(const char *text);

/* What SaveVideoData writes into its file; "scripted photograph\n" without a call. SaveVideoData,
 * SaveRGB888Image, ConvertImagetoImage (a copy of its source) and CombineMultiFile (the names of
 * the pending files, one a line) write a file unless they return a negative result. */
void fake_set_photograph(const void *data, int size);

/* The calls so far, one a line: "Open(0)\nSaveVideoData(data,640,480,0,/tmp/a.jpg)\n". Pointers to
 * data and callbacks read "data", "callback" or "null". Valid until this thread's next
 * fake_calls(). */
const char *fake_calls(void);

/* Forgets the calls so far and nothing else. */
void fake_clear_calls(void);

/* Is called inside every entry point, on the caller's thread, after the call was recorded and
 * before it has an effect; `path` is the file to be written or added, "" for calls without one.
 * No lock of the stand-in is held. A null hook takes it away. */
typedef void (*fake_hook)(const char *name, const char *path, void *context);
void fake_set_hook(fake_hook hook, void *context);

/* Hands a malloc'ed copy of `json` to the registered change callback, on this thread or on one of
 * its own that has ended on return. 0; -1 when none is registered. */
int fake_emit_hotplug(const char *json);
int fake_emit_hotplug_on_thread(const char *json);

/* Calls the frame callback of the device started last on this thread or on one of its own that has
 * ended on return, and returns its result; -1 when no device is streaming. StopCapture and Close
 * end a stream. */
int fake_emit_frame(void *data, int size, int width, int height);
int fake_emit_frame_on_thread(void *data, int size, int width, int height);

#ifdef __cplusplus
}
#endif
