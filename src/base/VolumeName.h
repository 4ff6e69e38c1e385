#pragma once

#include <QString>

namespace tarlox {

// The name of the volume that holds a path: the filesystem label of its
// device, else the device's UUID, else for a network mount its source
// ("server:/export", "//server/share"); "" when none can be read. The same
// volume gives the same name at every mount. A path that does not exist yet
// belongs to the volume of its nearest existing parent.
//
// Names fit the 32 characters that an Images row keeps: a longer UUID loses
// its dashes, any other long name keeps its start and a short checksum.
QString GetVolumeName(const QString& path);

// The host part of a network mount's source that holds the path; "" for a local disk.
QString NetworkHostOf(const QString& path);

// The directory at which the volume holding the path is mounted; "" when unknown.
QString MountPointOf(const QString& path);

namespace detail {
// GetVolumeName over a given mount table (the text of /proc/self/mountinfo)
// and a given device-link directory (holding by-label/ and by-uuid/).
QString VolumeNameIn(const QString& path, const QString& mountinfo, const QString& diskDirectory);
QString MountPointIn(const QString& path, const QString& mountinfo);
// A name cut to the 32 characters of the column, the same way each time.
QString FitVolumeName(const QString& name);
}  // namespace detail

}  // namespace tarlox
