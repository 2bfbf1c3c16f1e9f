#pragma once

#include "camera/camerarecords.h"
#include "settings/backupsetting.h"

/// The working arguments of a camera model in its settings file. Colour is stored by its code,
/// resolution, file type, crop and rotation by their display texts. The JPEG quality is read and
/// never written.
namespace workarguments {

/// What the selectors show at the moment of saving, and the save folder.
struct Shown
{
    QString resolution;
    QString path;
    QString type;
    bool multpage = false;
    int color = 0;
    QString cropType;
    QString rotate;
};

/// The settings file of a camera model below `backupFolder`: "/vid*pid.ini", both in lower-case
/// hexadecimal. Cameras of one model share it.
QString settingsFileName(const QString &backupFolder, int vid, int pid);

/// Writes the camera's ids and everything shown.
void write(backupSetting &file, int vid, int pid, const Shown &shown);

/// The saved resolution's name; empty when none was saved.
QString savedResolution(backupSetting &file);

/// Reads everything else into `argv`, with the default for each value that is missing. A file type
/// that is not in argv.typelist becomes the first one of that list, which must be filled before.
void read(backupSetting &file, _tag_file_argv &argv);

} // namespace workarguments
