#pragma once
// Dictionary lookups for Qt code: the UTF-8 texts of the global dictionary as QString.
#include <QString>
#include <QStringList>

namespace KELCTRL {

// The text of `key`; the key itself when the dictionary lacks it, so a missing text shows its key; a
// null QString for an empty key.
QString GetDictItem(const QString& key);
// The same for a key given as a literal: GetDictText("IDS_OK").
QString GetDictText(const char* key);
// Fills a text written with printf-style placeholders, as the dictionaries carry them ("%s", "%d",
// "%ls", "%u", ...), with the arguments in order; "%%" is a percent sign. Placeholders without an
// argument stay as they are, so a short argument list never loses text.
QString FormatText(const QString& format, const QStringList& args);
// FormatText of a dictionary text.
QString FormatDictText(const char* key, const QStringList& args);

} // namespace KELCTRL
