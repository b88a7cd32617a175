#include "LocalFileRequest.h"

#include "FileDescriptor.h"
#include "TransportError.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace pelorinnews {

namespace {

NetworkOutcome failure(TransportError code, const QString &text) {
    return {std::nullopt, std::nullopt, transportError(code, text)};
}

NetworkOutcome systemFailure(int error, const QString &path) {
    return failure(TransportError::Unreadable,
                   path + QStringLiteral(": ") + qt_error_string(error));
}

NetworkOutcome tooLong(const QString &path, qint64 longest) {
    return failure(TransportError::TooLong,
                   QStringLiteral("%1 is longer than %2 bytes").arg(path).arg(longest));
}

}  // namespace

NetworkOutcome readLocalFile(QUrl url, qint64 longest) {
    if (url.host().compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        url.setHost({});
    const QString path = url.toLocalFile();
    const QByteArray name = QFile::encodeName(path);
    struct stat status {};
    if (!url.host().isEmpty() || path.isEmpty() || name.contains('\0'))
        return failure(TransportError::BadAddress,
                       QStringLiteral("Not a file of this computer: ") + url.toString());
    // Looked at first, since opening is an act; and again below, should it have changed meanwhile.
    if (::stat(name.constData(), &status) != 0)
        return systemFailure(errno, path);
    const auto notRegular = [&path] {
        return failure(TransportError::Unreadable, QStringLiteral("Not a regular file: ") + path);
    };
    if (!S_ISREG(status.st_mode))
        return notRegular();
    const FileDescriptor file(
        ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isValid() || ::fstat(file.get(), &status) != 0)
        return systemFailure(errno, path);
    if (!S_ISREG(status.st_mode))
        return notRegular();
    if (status.st_size > longest)
        return tooLong(path, longest);

    QByteArray body("");
    body.reserve(static_cast<qsizetype>(status.st_size));
    constexpr qint64 step = qint64(1) << 20;
    while (true) {
        // Files of the kernel's have a size of 0, and any file may grow meanwhile.
        const qsizetype had = body.size();
        const qint64 wanted = std::clamp<qint64>(status.st_size - had, 4096, step);
        body.resize(had + static_cast<qsizetype>(wanted));
        const ssize_t got = ::read(file.get(), body.data() + had, static_cast<std::size_t>(wanted));
        const int error = errno;
        body.truncate(had + std::max<ssize_t>(got, 0));
        if (got == 0)
            return {UrlResponse{}, body, std::nullopt};
        if (got < 0 && error != EINTR)
            return systemFailure(error, path);
        if (body.size() > longest)
            return tooLong(path, longest);
    }
}

}  // namespace pelorinnews
