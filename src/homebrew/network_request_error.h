#pragma once

#include <QNetworkReply>
#include <QString>

#include <stdexcept>

namespace tarnel {

// A request that got no HTTP answer (no connection, an untrusted certificate,
// a time-out), with the network layer's own words.
class NetworkRequestError : public std::runtime_error {
public:
    NetworkRequestError(QNetworkReply::NetworkError code, QString platformMessage);

    QNetworkReply::NetworkError code() const { return errorCode; }
    const QString& description() const { return message; }

private:
    QNetworkReply::NetworkError errorCode;
    QString message;
};

}  // namespace tarnel
