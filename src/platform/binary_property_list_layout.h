#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// The objects of a binary property list ("bplist00"), found through its
// trailer and offset table. Every position is checked against the bytes
// before it is read; what does not fit throws PropertyListError (malformed).
class BinaryPropertyListLayout {
public:
    enum class Type { boolean, integer, real, date, data, ascii, utf16, uid, array, dictionary };

    // One object's header. `count` is the number of elements of an array,
    // of entries of a dictionary, or of characters of a text.
    struct Object {
        Type type;
        bool truth = false;
        qsizetype count = 0;
        qsizetype body = 0;
    };

    explicit BinaryPropertyListLayout(const QByteArray& data);

    qsizetype objectCount() const { return count; }
    qsizetype topObject() const { return top; }
    Object object(qsizetype index) const;
    // The object that the container refers to at `position`: an array's
    // elements in order, or a dictionary's keys followed by its values.
    qsizetype reference(const Object& container, qsizetype position) const;
    // The characters of an ASCII or UTF-16 text object, unpaired surrogates
    // and U+0000 kept as they are.
    QString text(const Object& object) const;

private:
    quint64 unsignedAt(qsizetype position, int width) const;
    // The count that follows a marker whose low nibble is 15, and where the
    // object's body starts.
    std::pair<qsizetype, qsizetype> extendedCount(qsizetype position) const;

    QByteArray data;
    int offsetSize = 0;
    int referenceSize = 0;
    qsizetype count = 0;
    qsizetype top = 0;
    qsizetype tableOffset = 0;
};

}  // namespace tarnel
