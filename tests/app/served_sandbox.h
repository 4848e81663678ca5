#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>

// Serves a sandbox with the real tarnel-sandbox for as long as it lives.
class ServedSandbox {
public:
    explicit ServedSandbox(const QString& root);
    ~ServedSandbox();
    ServedSandbox(const ServedSandbox&) = delete;
    ServedSandbox& operator=(const ServedSandbox&) = delete;

    // Whether the server announced itself; false when it refused to start.
    bool isServing() const { return announcement.startsWith("Serving "); }
    // What the server wrote on standard error, once it has ended.
    QByteArray errors() { return server.readAllStandardError(); }

private:
    QProcess server;
    QByteArray announcement;
};
