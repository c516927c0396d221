#pragma once
// Dictionary lookups for Qt code: the UTF-8 texts of the global dictionary as QString.
#include <QString>

namespace KELCTRL {

// The text of `key`; the key itself when the dictionary lacks it, so a missing text shows its key; a
// null QString for an empty key.
QString GetDictItem(const QString& key);
// The same for a key given as a literal: GetDictText("IDS_OK").
QString GetDictText(const char* key);

} // namespace KELCTRL
