#include "core/system_layout.h"

#include <QDir>

namespace tarnel {

// The temporary folder of this platform is already the user's own.
QString SystemLayout::privateTemporaryDirectory() {
    return QDir::tempPath();
}

}  // namespace tarnel
