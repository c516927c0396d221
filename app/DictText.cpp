#include "app/DictText.h"

#include "common/Dictionaries.h"

namespace KELCTRL {

QString GetDictItem(const QString& key) {
    if (key.isEmpty())
        return QString();
    const QByteArray utf8 = key.toUtf8();
    const std::string* value = localization::global_dictionary().find(utf8.toStdString());
    return value ? QString::fromStdString(*value) : key;
}

QString GetDictText(const char* key) {
    const char* text = GetDictItem(key);
    return text ? QString::fromUtf8(text) : QString();
}

QString FormatText(const QString& format, const QStringList& args) {
    QString out;
    out.reserve(format.size() + 16);
    int next = 0;
    for (int i = 0; i < format.size(); ++i) {
        const QChar c = format[i];
        if (c != QLatin1Char('%') || i + 1 >= format.size()) {
            out += c;
            continue;
        }
        if (format[i + 1] == QLatin1Char('%')) {
            out += QLatin1Char('%');
            ++i;
            continue;
        }
        // A conversion: flags, width, precision and length letters, then the type letter.
        int j = i + 1;
        while (j < format.size() && QStringLiteral("-+ #0123456789.lhIL").contains(format[j]))
            ++j;
        if (j >= format.size() || !QStringLiteral("sdiuxXfgecS").contains(format[j]) || next >= args.size()) {
            out += c;
            continue;
        }
        out += args[next++];
        i = j;
    }
    return out;
}

QString FormatDictText(const char* key, const QStringList& args) {
    return FormatText(GetDictText(key), args);
}

} // namespace KELCTRL
