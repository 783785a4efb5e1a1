#pragma once

#include "core/typesetting/PLSyncTexRecordCheck.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <memory>

// Tells whether SyncTeX data is whole before the SyncTeX library reads it: the library reads
// through null pointers on a file that was cut short (a job stopped half way, a full disk) or
// damaged. The data is whole when it decompresses cleanly (plain ".synctex" text or gzip members),
// begins with its version line, holds only well-formed records and ends with its postamble:
// "Postamble:", "Count:", then "Post scriptum:" and the lines that may follow it. Anything else is
// treated as no data at all.
//
// The data is looked at as it streams by, so a file of any size is checked in little memory; its
// decompressed size is bounded all the same, against a small file that inflates without end.
class PLSyncTexDataCheck
{
public:
    PLSyncTexDataCheck();
    ~PLSyncTexDataCheck();
    PLSyncTexDataCheck(const PLSyncTexDataCheck &) = delete;
    PLSyncTexDataCheck &operator=(const PLSyncTexDataCheck &) = delete;

    // Feeds the next bytes of the file as stored (compressed or not).
    void append(QByteArrayView bytes);
    // Whether everything fed so far is whole SyncTeX data.
    bool isComplete() const;

    // The whole contents of a ".synctex.gz" or ".synctex" file.
    static bool isComplete(QByteArrayView bytes);
    // The file at the path; anything but a readable regular file is not whole.
    static bool isCompleteFile(const QString &path);

    // Decompressed text beyond this is not SyncTeX data that anyone can use.
    static constexpr qint64 kMaximumTextSize = qint64(1) << 30;

private:
    class Inflater;

    void appendText(QByteArrayView text);

    std::unique_ptr<Inflater> m_inflater;
    bool m_decided = false;
    bool m_compressed = false;
    bool m_failed = false;
    qint64 m_textSize = 0;
    QByteArray m_head;
    QByteArray m_tail;
    PLSyncTexRecordCheck m_records;
};
