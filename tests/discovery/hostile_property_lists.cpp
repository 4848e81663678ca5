#include "hostile_property_lists.h"

#include "binary_property_list_builder.h"

#include <QFile>

#include <stdexcept>

namespace {

const QByteArray identifier = "com.example.Hostile";

QByteArray xmlDocument(const QByteArray& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "<key>CFBundleIdentifier</key><string>" +
           identifier + "</string>\n" + entries + "\n</dict>\n</plist>\n";
}

// The root of a binary list, holding the identifier and `value` as "Other".
int binaryRoot(BinaryPropertyListBuilder& builder, int value) {
    return builder.dictionary({{builder.ascii("CFBundleIdentifier"), builder.ascii(identifier)},
                               {builder.ascii("Other"), value}});
}

}  // namespace

QByteArray deeplyNestedXml(int depth) {
    return xmlDocument("<key>Nested</key>" + QByteArray("<array>").repeated(depth) +
                       QByteArray("</array>").repeated(depth));
}

QByteArray deeplyNestedBinary(int depth) {
    BinaryPropertyListBuilder builder;
    int inner = builder.array({});
    for (int level = 1; level < depth; ++level) {
        inner = builder.array({inner});
    }
    return builder.build(binaryRoot(builder, inner));
}

QByteArray sharedReferenceBinary(int levels) {
    BinaryPropertyListBuilder builder;
    int inner = builder.array({});
    for (int level = 0; level < levels; ++level) {
        inner = builder.array({inner, inner});
    }
    return builder.build(binaryRoot(builder, inner));
}

QByteArray entityHeavyString(int count) {
    return xmlDocument("<key>Text</key><string>" + QByteArray("&amp;").repeated(count) +
                       "</string>");
}

QByteArray entityHeavyKey(int count) {
    return xmlDocument("<key>" + QByteArray("&amp;").repeated(count) +
                       "</key><string>value</string>");
}

QByteArray nulKeyBinary() {
    return QByteArray::fromHex(
        "62706c6973743030d101026100005161080b0e00000000000001010000000000000003000000000000000000"
        "00000000000010");
}

void writeSparseBinary(const QString& path, qint64 size) {
    BinaryPropertyListBuilder builder;
    const int root = binaryRoot(builder, builder.boolean(true));
    const QByteArray tail = builder.tail(root, size);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(builder.head()) < 0 ||
        !file.seek(size - tail.size()) || file.write(tail) != tail.size()) {
        throw std::runtime_error("cannot write a sparse test file");
    }
}
