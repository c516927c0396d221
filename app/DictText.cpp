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

} // namespace KELCTRL
