#pragma once

#include "camera/camerarecords.h"

/// The capture resolutions that the camera library offers for a device.
namespace resolutionlist {

/// Replaces `list` by the entries of the library's JSON text, in their order, and returns true.
/// Returns false and leaves `list` as it was for a null pointer, for a text that does not parse and
/// for one without entries. A missing or non-numeric member reads as 0.
/// The text stays the caller's.
bool parse(const char *json, std::vector<_tag_unit_cam_res_unit> &list);

/// The first entry of that name, null when there is none. Borrowed from `list`.
const _tag_unit_cam_res_unit *findByName(const std::vector<_tag_unit_cam_res_unit> &list,
                                         const QString &name);

/// The first entry of that size (pixels) and name, null when there is none. Borrowed from `list`.
const _tag_unit_cam_res_unit *findBySizeAndName(const std::vector<_tag_unit_cam_res_unit> &list,
                                                int width, int height, const QString &name);

} // namespace resolutionlist
