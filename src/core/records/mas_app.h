#pragma once

#include <QString>

namespace tarnel {

// One application that the store tool lists as installed.
struct MASApp {
    QString id;
    QString name;
    QString version;

    bool operator==(const MASApp&) const = default;
};

size_t qHash(const MASApp& app, size_t seed = 0);

}  // namespace tarnel
