#include "platform/appcast/temporary_folder.h"

#include "platform/appcast/file_tree.h"
#include "platform/appcast/update_install_error.h"

#include <QFile>

#include <cerrno>
#include <cstdlib>

namespace tarnel {

TemporaryFolder::TemporaryFolder(const QString& parent, const QString& prefix) {
    QByteArray pattern = QFile::encodeName(parent + u'/' + prefix) + "XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw UpdateInstallError::installationFailed(
            errno, QStringLiteral("create a temporary folder in %1").arg(parent));
    }
    folderPath = QFile::decodeName(pattern);
}

TemporaryFolder::~TemporaryFolder() {
    removeFileTree(QFile::encodeName(folderPath));
}

}  // namespace tarnel
