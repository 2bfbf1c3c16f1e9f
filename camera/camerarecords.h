#pragma once

#include <QString>
#include <QStringList>
#include <list>
#include <vector>

/// The application's own book-keeping about cameras and files: plain values, copied member by
/// member. They never cross the boundary to the camera library.

/// One camera device that a hot-plug event has announced. Byte arrays hold NUL-terminated UTF-8.
struct _tag_unit_camera
{
    QString name; ///< text in the device selector; empty until the selector is refreshed
    int id = 0; ///< record number, shown in the record dump only
    int status = 0; ///< 1 while this camera is open and capturing
    char devname[64] = {}; ///< second copy of the device name, an optional match criterion
    char node[64] = {}; ///< device node, shown in the record dump only
    char mode[64] = {}; ///< device name as the library reports it, cut to 63 bytes
    int vid = 0; ///< USB vendor id
    int pid = 0; ///< USB product id
    int connect = 0; ///< 1 while the device is present, 0 until the record is swept out
    int ID = 0; ///< the camera library's device index
};

/// One capture resolution of the open camera.
struct _tag_unit_cam_res_unit
{
    QString name; ///< "width*height", the text in the resolution selector
    int res_no = 0; ///< the library's number for it
    int res_w = 0; ///< pixels
    int res_h = 0; ///< pixels
};

/// One colour mode for photographs.
struct _tag_unit_cam_file_color_unit
{
    QString name; ///< display text
    int index = 0; ///< colour number for the library and the settings file
    QString key; ///< "color", "gray" or "lineart"
};

/// One photograph that is taken and not yet saved.
struct _tag_unit_Thum_file_unit
{
    int number = 0; ///< the key as a number
    QString key; ///< at least four decimal digits
    QString filePath; ///< the working file
};

/// Working arguments of capture and file output for the open camera. Texts start empty and get
/// their defaults when a camera is opened.
struct _tag_file_argv
{
    std::vector<_tag_unit_cam_file_color_unit> colorlist; ///< colour modes offered
    QStringList typelist; ///< output file types offered, lower-case extensions
    bool multpage = false; ///< combine all photographs into one file
    int quality = 95; ///< JPEG quality in percent
    int color = 0; ///< current colour number
    QString type; ///< current output file type
    QString path; ///< folder of output and working files
    int thumkey = 1; ///< next thumbnail key
    QString unused1; ///< keeps the record's shape; takes part in nothing
    std::list<_tag_unit_Thum_file_unit> thumlist; ///< photographs in insertion order
    int fileno = 1; ///< next output file number, never reset while the program runs
    QString unused2; ///< keeps the record's shape; takes part in nothing
    QString crop_type; ///< crop mode text
    QString rotate; ///< rotation mode text
};
