#include "platform/binary_property_list_layout.h"

#include "platform/property_list_error.h"

#include <QtEndian>

#include <utility>

namespace tarnel {

namespace {

constexpr qsizetype headerSize = 8;
constexpr qsizetype trailerSize = 32;

[[noreturn]] void failMalformed() {
    throw PropertyListError(PropertyListError::Case::malformed);
}

void require(bool condition) {
    if (!condition) {
        failMalformed();
    }
}

// The bytes that one element of the type takes in an object's body.
qsizetype elementSize(BinaryPropertyListLayout::Type type, int referenceSize) {
    using Type = BinaryPropertyListLayout::Type;
    switch (type) {
        case Type::utf16:
            return 2;
        case Type::array:
            return referenceSize;
        case Type::dictionary:
            return 2 * referenceSize;
        default:
            return 1;
    }
}

}  // namespace

BinaryPropertyListLayout::BinaryPropertyListLayout(const QByteArray& data) : data(data) {
    require(data.size() >= headerSize + trailerSize + 2 && data.startsWith("bplist00"));
    const qsizetype trailer = data.size() - trailerSize;
    offsetSize = static_cast<quint8>(data[trailer + 6]);
    referenceSize = static_cast<quint8>(data[trailer + 7]);
    require(offsetSize >= 1 && offsetSize <= 8 && referenceSize >= 1 && referenceSize <= 8);
    const quint64 objects = unsignedAt(trailer + 8, 8);
    const quint64 topObject = unsignedAt(trailer + 16, 8);
    const quint64 table = unsignedAt(trailer + 24, 8);
    // Objects lie between the header and the table, the table before the
    // trailer; each comparison is made so that nothing can overflow.
    require(table > headerSize && table < static_cast<quint64>(trailer));
    require(objects >= 1 && objects <= (trailer - table) / offsetSize && topObject < objects);
    count = static_cast<qsizetype>(objects);
    top = static_cast<qsizetype>(topObject);
    tableOffset = static_cast<qsizetype>(table);
}

quint64 BinaryPropertyListLayout::unsignedAt(qsizetype position, int width) const {
    quint64 value = 0;
    for (int index = 0; index < width; ++index) {
        value = value << 8 | static_cast<quint8>(data[position + index]);
    }
    return value;
}

std::pair<qsizetype, qsizetype> BinaryPropertyListLayout::extendedCount(qsizetype position) const {
    require(position + 1 < tableOffset);
    const quint8 marker = static_cast<quint8>(data[position + 1]);
    const int width = 1 << (marker & 0x0f);
    require(marker >> 4 == 0x1 && width <= 8 && position + 2 + width <= tableOffset);
    const quint64 value = unsignedAt(position + 2, width);
    require(value <= static_cast<quint64>(tableOffset));
    return {static_cast<qsizetype>(value), position + 2 + width};
}

BinaryPropertyListLayout::Object BinaryPropertyListLayout::object(qsizetype index) const {
    const quint64 offset = unsignedAt(tableOffset + index * offsetSize, offsetSize);
    require(offset >= headerSize && offset < static_cast<quint64>(tableOffset));
    const auto position = static_cast<qsizetype>(offset);
    const quint8 marker = static_cast<quint8>(data[position]);
    const int low = marker & 0x0f;
    // A scalar of a size the marker tells.
    const auto sized = [&](Type type, qsizetype size) {
        require(size <= tableOffset - position - 1);
        return Object{type, false, 0, position + 1};
    };
    // Text, data or a container, whose count follows the marker past 14.
    const auto counted = [&](Type type) {
        const auto [count, body] =
            low == 0x0f ? extendedCount(position) : std::pair(qsizetype(low), position + 1);
        require(count <= (tableOffset - body) / elementSize(type, referenceSize));
        return Object{type, false, count, body};
    };
    switch (marker >> 4) {
        case 0x0:
            require(low == 0x8 || low == 0x9);
            return Object{Type::boolean, low == 0x9};
        case 0x1:
            require(low <= 4);
            return sized(Type::integer, qsizetype(1) << low);
        case 0x2:
            require(low == 2 || low == 3);
            return sized(Type::real, qsizetype(1) << low);
        case 0x3:
            require(low == 3);
            return sized(Type::date, 8);
        case 0x8:
            return sized(Type::uid, low + 1);
        case 0x4:
            return counted(Type::data);
        case 0x5:
            return counted(Type::ascii);
        case 0x6:
            return counted(Type::utf16);
        case 0xa:
            return counted(Type::array);
        case 0xd:
            return counted(Type::dictionary);
        default:
            failMalformed();
    }
}

qsizetype BinaryPropertyListLayout::reference(const Object& container, qsizetype position) const {
    const quint64 index = unsignedAt(container.body + position * referenceSize, referenceSize);
    require(index < static_cast<quint64>(count));
    return static_cast<qsizetype>(index);
}

QString BinaryPropertyListLayout::text(const Object& object) const {
    const char* bytes = data.constData() + object.body;
    if (object.type == Type::ascii) {
        return QString::fromLatin1(bytes, object.count);
    }
    QString text(object.count, Qt::Uninitialized);
    qFromBigEndian<char16_t>(bytes, object.count, text.data());
    return text;
}

}  // namespace tarnel
