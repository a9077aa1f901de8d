#include "table_rows.h"

#include "main_screen/main_sections.h"

#include <QSet>
#include <QVariantMap>

namespace brisko {
namespace {

const QSet<QString>& colorMap() {
    static const QSet<QString> names = {"systemBlue", "systemPurple", "systemOrange", "systemGray",
                                        "systemTeal", "systemGreen",  "systemRed",    "systemIndigo"};
    return names;
}

QVariantMap tableRow(const QVariantMap& row) {
    const QString action = row.value("act").toString();
    const bool isAction = row.contains("act");
    const bool isSwitch = action == "boot_toggle" || action == "debug_toggle";
    QString accessory = isAction ? "disclosure" : "none";
    if (isSwitch) accessory = "switch";
    return {
        {"l", row.value("l")},
        {"v", row.value("v")},
        {"i", row.value("i")},
        {"tint", BKTintName(row.value("c").toString())},
        {"style", isAction ? "subtitle" : "value"},
        {"accessory", accessory},
        {"switchOn", isSwitch && row.value("sw").toBool()},
        {"switchEnabled", isSwitch && (action == "boot_toggle" || !row.value("disabled").toBool())},
        {"selectable", (isAction && !isSwitch) || row.value("l") == kServiceAddressLabel},
    };
}

} // namespace

double BKHeaderHeight(int section) {
    return section == 0 ? 40.0 : 26.0;
}

QString BKTintName(const QString& colorName) {
    return colorMap().contains(colorName) ? colorName : QStringLiteral("systemBlue");
}

QVariantList BKTableSections(const QVariantList& sections) {
    QVariantList result;
    for (int index = 0; index < sections.size(); ++index) {
        const QVariantMap section = sections[index].toMap();
        QVariantList rows;
        for (const QVariant& row : section.value("rows").toList())
            rows.append(tableRow(row.toMap()));
        const QString title = section.value("title").toString();
        result.append(QVariantMap{{"title", title},
                                  {"showsHeader", !title.isEmpty()},
                                  {"headerHeight", BKHeaderHeight(index)},
                                  {"rows", rows}});
    }
    return result;
}

} // namespace brisko
