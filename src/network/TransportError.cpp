#include "TransportError.h"

#include "pelorinnews/PrintableText.h"

namespace pelorinnews {

Error transportError(TransportError code, const QString &description) {
    return {transportErrorDomain(),
            static_cast<int>(code),
            {{Error::localizedDescriptionKey(), printableText(description)}}};
}

}  // namespace pelorinnews
