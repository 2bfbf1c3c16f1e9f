#include "app/window/thumbnaillist.h"

#include "util/general.h"

#include <algorithm>
#include <iterator>

namespace thumbnaillist {

namespace {

template <typename AnyList> auto findKey(AnyList &list, const QString &key)
{
    return std::find_if(list.begin(), list.end(),
                        [&key](const _tag_unit_Thum_file_unit &entry) { return entry.key == key; });
}

void deleteFile(const _tag_unit_Thum_file_unit &entry)
{
    general::Korv_Config_Remove_File(entry.filePath.toStdString().c_str());
}

} // namespace

void append(List &list, const QString &key, const QString &filePath)
{
    list.push_back({key.toInt(), key, filePath});
}

void insertBefore(List &list, const QString &key, const QString &filePath)
{
    for (auto entry = list.begin(); entry != list.end(); ++entry) {
        if (entry->key == key)
            list.insert(entry, {key.toInt(), key, filePath});
    }
}

void removeFirst(List &list, const QString &key)
{
    const auto entry = findKey(list, key);
    if (entry == list.end())
        return;
    deleteFile(*entry);
    list.erase(entry);
}

void clear(List &list)
{
    std::for_each(list.begin(), list.end(), deleteFile);
    list.clear();
}

QString fileAt(const List &list, int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= list.size())
        return {};
    return std::next(list.begin(), index)->filePath;
}

QString fileOf(const List &list, const QString &key)
{
    const auto entry = findKey(list, key);
    return entry == list.end() ? QString() : entry->filePath;
}

} // namespace thumbnaillist
