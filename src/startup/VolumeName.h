#pragma once

#include <QString>

namespace tarlox {

// The name of the volume that holds a path: the filesystem label of its
// device, else the device's UUID, else for a network mount its source
// ("server:/export", "//server/share"); "" when none can be read. The same
// volume gives the same name at every mount.
QString GetVolumeName(const QString& path);

// The host part of a network mount's source that holds the path; "" for a local disk.
QString NetworkHostOf(const QString& path);

}  // namespace tarlox
