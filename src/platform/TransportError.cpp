#include "TransportError.h"

namespace pelorinnews {

Error transportError(TransportError code, const QString &description) {
    QString text = description;
    for (QChar &character : text)
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char(' ');
    return {transportErrorDomain(),
            static_cast<int>(code),
            {{Error::localizedDescriptionKey(), text.simplified()}}};
}

}  // namespace pelorinnews
