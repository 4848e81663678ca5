#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

// Writes binary property lists object by object, so that a test can make
// shapes no ordinary writer makes: shared containers, any depth, a hole
// before the offset table. Each method adds one object and gives its number.
class BinaryPropertyListBuilder {
public:
    int ascii(const QByteArray& text);
    int utf16(const QString& text);
    int boolean(bool value);
    int array(const QList<int>& items);
    int dictionary(const QList<std::pair<int, int>>& entries);

    // The whole list, with `topObject` as its root.
    QByteArray build(int topObject) const;

    // The same in two pieces for a file of `fileSize` bytes: the objects at
    // its start, and the offset table and trailer at its end.
    QByteArray head() const;
    QByteArray tail(int topObject, qint64 fileSize) const;

private:
    int add(QByteArray object);
    QByteArray marker(int type, qint64 count) const;
    QByteArray reference(int object) const;

    QList<QByteArray> objects;
};
