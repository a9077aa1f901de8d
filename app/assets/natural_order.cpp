#include "app/assets/natural_order.h"

#include <algorithm>

// Written by hand rather than with QCollator: a collator follows the locale and the ICU
// version, and a digest whose order shifts after a system update would redeploy for nothing.

namespace brisko::assets {
namespace {
struct DigitRun {
    qsizetype begin = 0; // first significant digit
    qsizetype end = 0;
};

DigitRun scanDigits(const QString& s, qsizetype i) {
    while (i < s.size() && s[i].isDigit() && s[i].digitValue() == 0)
        ++i;
    const qsizetype begin = i;
    while (i < s.size() && s[i].isDigit())
        ++i;
    return {begin, i};
}

int compareRuns(const QString& a, DigitRun ra, const QString& b, DigitRun rb) {
    const qsizetype lengthA = ra.end - ra.begin;
    const qsizetype lengthB = rb.end - rb.begin;
    if (lengthA != lengthB) return lengthA < lengthB ? -1 : 1;
    for (qsizetype k = 0; k < lengthA; ++k) {
        const int da = a[ra.begin + k].digitValue();
        const int db = b[rb.begin + k].digitValue();
        if (da != db) return da < db ? -1 : 1;
    }
    return 0;
}

// A run of digits sorts where "0" would, so digits of any script keep the order transitive.
char16_t sortKey(QChar c) {
    return c.isDigit() ? u'0' : c.unicode();
}

int compareFolded(const QString& a, const QString& b) {
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            const DigitRun ra = scanDigits(a, i);
            const DigitRun rb = scanDigits(b, j);
            if (const int byValue = compareRuns(a, ra, b, rb)) return byValue;
            i = ra.end;
            j = rb.end;
            continue;
        }
        if (sortKey(a[i]) != sortKey(b[j])) return sortKey(a[i]) < sortKey(b[j]) ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

struct SortKey {
    QString folded;
    QString decoded;
    QByteArray name;
};

// Names equal but for case or leading zeros ("A", "a"; "x01", "x1") are still told apart, so
// the order is total and never depends on the order the folder was listed in.
bool precedes(const SortKey& x, const SortKey& y) {
    if (const int order = compareFolded(x.folded, y.folded)) return order < 0;
    if (const int order = QString::compare(x.decoded, y.decoded)) return order < 0;
    return x.name < y.name; // invalid UTF-8 decodes alike
}
} // namespace

void sortNaturally(QList<QByteArray>& names) {
    QList<SortKey> keys;
    keys.reserve(names.size());
    for (const QByteArray& name : names) {
        const QString decoded = QString::fromUtf8(name);
        keys.append({decoded.toCaseFolded(), decoded, name});
    }
    std::sort(keys.begin(), keys.end(), precedes);
    for (qsizetype i = 0; i < names.size(); ++i)
        names[i] = keys[i].name;
}

} // namespace brisko::assets
