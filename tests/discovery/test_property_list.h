#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

// A property-list dictionary built for a test and written out as XML or
// binary bytes.
class TestPropertyList {
public:
    TestPropertyList();
    // Starts from the XML of a real Info.plist.
    static TestPropertyList fromData(const QByteArray& data);

    TestPropertyList& text(const char* key, const QString& value);
    TestPropertyList& boolean(const char* key, bool value);
    TestPropertyList& integer(const char* key, qint64 value);
    TestPropertyList& remove(const char* key);

    QByteArray xml() const;
    QByteArray binary() const;

private:
    struct NodeRelease {
        void operator()(void* node) const;
    };
    std::unique_ptr<void, NodeRelease> root;
};
