// A settings file as the store opens it, every value read back.
#include "core/settings_file_format.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Settings objects keep a file they have read while its size and time
    // stamp stay the same, so every input gets a name of its own.
    static const QTemporaryDir folder;
    static quint64 inputs = 0;
    const QString path = folder.filePath(QStringLiteral("settings-%1.json").arg(++inputs));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("Cannot write %s", qPrintable(path));
        }
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    {
        const QSettings settings(path, tarnel::settingsFileFormat());
        for (const QString& key : settings.allKeys()) {
            settings.value(key);
        }
    }
    QFile::remove(path);
    return 0;
}
