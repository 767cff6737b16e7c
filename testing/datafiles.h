#pragma once

#include "document/datafile.h"

#include <QBuffer>

namespace px40 {

/// The data file that these bytes are.
inline Result<DataFile> Read(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return ReadDataFile(buffer);
}

/// The bytes of a data file; none if they cannot be written.
inline QByteArray Written(const DataFile &file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return WriteDataFile(file.header, file.rows, file.tableRows, buffer) ? bytes : QByteArray();
}

} // namespace px40
