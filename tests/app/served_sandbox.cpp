#include "served_sandbox.h"

#include "support/test_paths.h"

ServedSandbox::ServedSandbox(const QString& root) {
    server.start(toolPath(QStringLiteral("tarnel-sandbox")), {QStringLiteral("serve"), root});
    while (!announcement.contains('\n') && server.waitForReadyRead(30000)) {
        announcement += server.readAllStandardOutput();
    }
}

ServedSandbox::~ServedSandbox() {
    server.terminate();
    server.waitForFinished(30000);
}
