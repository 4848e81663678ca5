#include "served_route.h"

#include <QFile>

namespace tarnel {

ServedRoute ServedRoute::bytes(QByteArray body, int status) {
    ServedRoute route;
    route.body = std::move(body);
    route.status = status;
    return route;
}

ServedRoute ServedRoute::file(QString path, int status) {
    ServedRoute route;
    route.filePath = std::move(path);
    route.status = status;
    return route;
}

ServedRoute ServedRoute::redirect(QByteArray location, int status) {
    ServedRoute route;
    route.location = std::move(location);
    route.status = status;
    route.contentType = "text/plain";
    return route;
}

std::optional<QByteArray> ServedRoute::content() const {
    if (filePath.isEmpty()) {
        return body;
    }
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return file.readAll();
}

}  // namespace tarnel
