#pragma once

#include <QByteArray>
#include <QString>

// Property lists made to hurt a reader. The root of each is a dictionary
// whose "CFBundleIdentifier" is "com.example.Hostile", unless told otherwise.

// An XML list whose root also holds `depth` nested arrays.
QByteArray deeplyNestedXml(int depth);
// A binary list whose root also holds `depth` nested arrays.
QByteArray deeplyNestedBinary(int depth);
// A binary list of `levels` arrays, each holding the one below it twice, so
// that copying shared references would make 2^levels of them.
QByteArray sharedReferenceBinary(int levels);
// An XML list whose "Text" is "&amp;" written `count` times.
QByteArray entityHeavyString(int count);
// An XML list with a key of "&amp;" written `count` times, whose value is
// "value".
QByteArray entityHeavyKey(int count);
// 51 bytes: a binary list whose root's only key is the UTF-16 text U+0000,
// with the value "a".
QByteArray nulKeyBinary();
// Writes at `path` a binary list of `size` bytes, its objects at the start
// and its offset table at the end, with a hole between them that takes no
// disk.
void writeSparseBinary(const QString& path, qint64 size);
