#include "app/cli/permission_required.h"

namespace tarnel {

QString permissionRequiredText(const Cask& cask) {
    return QStringLiteral(
               "The cask '%1' requires administrator privileges to install.\n\nTo enable this "
               "feature, go to Settings → Permissions and turn on 'Admin Password'.")
        .arg(cask.name);
}

}  // namespace tarnel
