#include "testing/files.h"

#include <QFile>

namespace px40 {

bool Put(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray Contents(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray SampleFile(const char *kind, const char *shape)
{
    return QByteArray(kind) + "\r\n" + shape +
           "\r\n00,00,00,05\r\nTrue,,,,\r\n2\r\nFalse,1,1\r\nTrue,0,10,1,1\r\n"
           "10:00:00,1.5,VDC,,\r\n10:00:05,+OL,VDC,,\r\n10:00:10,2.5,VDC,,\r\n,,,,\r\n";
}

} // namespace px40
