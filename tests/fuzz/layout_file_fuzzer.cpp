// A layout file as the command-line program reads it.
#include "core/system_layout_file.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("layout.json"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("Cannot write %s", qPrintable(path));
        }
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    try {
        tarnel::readSystemLayoutFile(path);
    } catch (const tarnel::SystemLayoutFileError&) {
    }
    return 0;
}
