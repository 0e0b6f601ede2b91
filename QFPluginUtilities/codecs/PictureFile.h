#pragma once

#include <QByteArray>
#include <QString>

/// The bytes of a regular file, after links; null for anything else, such as a folder, a pipe or a device,
/// for a file of no bytes or above 2 GiB, and for one that cannot be read. Read rather than mapped: a mapped
/// file that another program cuts short ends the process.
[[nodiscard]] QByteArray contentsOfPictureFile(const QString &path);
