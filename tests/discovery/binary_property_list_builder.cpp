#include "binary_property_list_builder.h"

#include <QtEndian>

namespace {

constexpr QByteArrayView header = "bplist00";
constexpr int trailerSize = 32;
// Objects are referred to as they are added, before their count is known, so
// every reference takes three bytes: enough for sixteen million objects.
constexpr int referenceSize = 3;

// The fewest bytes that hold `value`: 1, 2, 4 or 8.
int widthOf(quint64 value) {
    int width = 1;
    while (width < 8 && value >> (8 * width) != 0) {
        width *= 2;
    }
    return width;
}

QByteArray bigEndian(quint64 value, int width) {
    QByteArray bytes(width, '\0');
    for (int index = width - 1; index >= 0; --index, value >>= 8) {
        bytes[index] = static_cast<char>(value & 0xff);
    }
    return bytes;
}

}  // namespace

int BinaryPropertyListBuilder::add(QByteArray object) {
    objects.append(std::move(object));
    return static_cast<int>(objects.size() - 1);
}

// A type nibble with its count, which past 14 follows as an integer object.
QByteArray BinaryPropertyListBuilder::marker(int type, qint64 count) const {
    if (count < 15) {
        return QByteArray(1, static_cast<char>(type << 4 | count));
    }
    const int width = widthOf(static_cast<quint64>(count));
    const int exponent = width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3;
    return QByteArray(1, static_cast<char>(type << 4 | 0xf)) +
           QByteArray(1, static_cast<char>(0x10 | exponent)) +
           bigEndian(static_cast<quint64>(count), width);
}

QByteArray BinaryPropertyListBuilder::reference(int object) const {
    return bigEndian(static_cast<quint64>(object), referenceSize);
}

int BinaryPropertyListBuilder::ascii(const QByteArray& text) {
    return add(marker(0x5, text.size()) + text);
}

int BinaryPropertyListBuilder::utf16(const QString& text) {
    QByteArray units(text.size() * 2, '\0');
    qToBigEndian<char16_t>(text.utf16(), text.size(), units.data());
    return add(marker(0x6, text.size()) + units);
}

int BinaryPropertyListBuilder::boolean(bool value) {
    return add(QByteArray(1, value ? '\x09' : '\x08'));
}

int BinaryPropertyListBuilder::array(const QList<int>& items) {
    QByteArray object = marker(0xa, items.size());
    for (const int item : items) {
        object += reference(item);
    }
    return add(object);
}

int BinaryPropertyListBuilder::dictionary(const QList<std::pair<int, int>>& entries) {
    QByteArray object = marker(0xd, entries.size());
    for (const auto& entry : entries) {
        object += reference(entry.first);
    }
    for (const auto& entry : entries) {
        object += reference(entry.second);
    }
    return add(object);
}

QByteArray BinaryPropertyListBuilder::head() const {
    QByteArray bytes = header.toByteArray();
    for (const QByteArray& object : objects) {
        bytes += object;
    }
    return bytes;
}

QByteArray BinaryPropertyListBuilder::tail(int topObject, qint64 fileSize) const {
    const qint64 objectsEnd = head().size();
    const int offsetSize = widthOf(static_cast<quint64>(objectsEnd));
    const qint64 tableOffset = fileSize - objects.size() * offsetSize - trailerSize;
    QByteArray bytes;
    qint64 offset = header.size();
    for (const QByteArray& object : objects) {
        bytes += bigEndian(static_cast<quint64>(offset), offsetSize);
        offset += object.size();
    }
    bytes += QByteArray(6, '\0');
    bytes += static_cast<char>(offsetSize);
    bytes += static_cast<char>(referenceSize);
    bytes += bigEndian(static_cast<quint64>(objects.size()), 8);
    bytes += bigEndian(static_cast<quint64>(topObject), 8);
    bytes += bigEndian(static_cast<quint64>(tableOffset), 8);
    return bytes;
}

QByteArray BinaryPropertyListBuilder::build(int topObject) const {
    const QByteArray objectBytes = head();
    const qint64 tailSize = objects.size() * widthOf(objectBytes.size()) + trailerSize;
    return objectBytes + tail(topObject, objectBytes.size() + tailSize);
}
