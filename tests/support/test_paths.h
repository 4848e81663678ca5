#pragma once

#include <QString>

// Where the shared fixtures and the built tools are.
inline QString sharedDir() {
    return QStringLiteral(TARNEL_SHARED_DIR);
}
inline QString binDir() {
    return QStringLiteral(TARNEL_BIN_DIR);
}
inline QString fixturesDir() {
    return sharedDir() + QStringLiteral("/fixtures");
}
inline QString toolPath(const QString& name) {
    return binDir() + u'/' + name;
}
