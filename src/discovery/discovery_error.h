#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// Why a discovery run could not begin.
class DiscoveryError : public std::exception {
public:
    enum class Kind { applicationsDirectoryNotFound, invalidApplicationBundle };

    explicit DiscoveryError(Kind kind);

    Kind kind() const { return errorKind; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    Kind errorKind;
    QByteArray utf8Description;
};

}  // namespace tarnel
