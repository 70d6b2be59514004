#include "app/RunningOrderDocument.h"

#include "daw/SessionCheck.h"
#include "daw/SongLengths.h"
#include "library/ManagedObject.h"
#include "platform/FontFaces.h"

#include <QDateTime>
#include <QFontMetricsF>
#include <QLocale>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QTextLayout>
#include <algorithm>

namespace {
// Sizes in points. An ordinary set of up to kShortList songs never goes below
// kShortListSmallest, which reads from two metres; a longer one shrinks before it takes another
// page, down to kSmallest, and a short one grows up to kLargest.
constexpr qreal kLargest = 40, kSmallest = 14, kShortListSmallest = 28, kStep = 0.5;
constexpr qsizetype kShortList = 20;
constexpr qreal kNamePoints = 22, kDetailPoints = 12;
// A title longer than this many lines ends in an ellipsis instead of crowding the page.
constexpr int kTitleLines = 2;
const char kTitleFace[] = "Dosis-Bold";
const char kNumberFace[] = "Dosis-Medium";

struct Song {
    QString number;
    QString title;
    QString length; // empty when unknown
};

// A setlist as the page shows it: its songs, then its total, if any song's length is known.
struct Order {
    QList<Song> songs;
    QString total; // "In all: 42:10; 2 songs without a known length"
};

// The page's paint area, measured in the device's pixels.
class Sheet {
public:
    explicit Sheet(QPagedPaintDevice& device) : device_(device) {}
    qreal px(qreal points) const { return points * device_.logicalDpiY() / 72.0; }
    qreal width() const { return device_.width(); }
    qreal height() const { return device_.height(); }
    QPaintDevice* device() const { return &device_; }
    QFontMetricsF metrics(const QFont& font) const { return QFontMetricsF(font, &device_); }
    qreal headerHeight() const {
        return metrics(FontFaces::font(kTitleFace, kNamePoints)).height() + px(16);
    }

private:
    QPagedPaintDevice& device_;
};

// `text` ending in an ellipsis where it stops fitting, at a word's end where there is one.
QString elided(const QString& text, const QFont& font, qreal width, const Sheet& sheet) {
    const QString cut = sheet.metrics(font).elidedText(text, Qt::ElideRight, width);
    const qsizetype kept = cut.size() - 1;
    const qsizetype space = cut.lastIndexOf(' ');
    if (kept >= text.size() || text[kept].isSpace() || space <= 0) return cut;
    return cut.left(space) + QChar(0x2026);
}

struct Title {
    QStringList lines;
    bool cut = false; // the last line elided
};

// The title's lines at `width`: at most kTitleLines, the last elided when more would follow.
Title wrap(const QString& text, const QFont& font, qreal width, const Sheet& sheet) {
    QTextLayout layout(text, font, sheet.device());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    Title title;
    int lastStart = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (title.lines.size() == kTitleLines) {
            title.cut = true;
            break;
        }
        title.lines << text.mid(line.textStart(), line.textLength()).trimmed();
        lastStart = line.textStart();
    }
    layout.endLayout();
    if (title.cut)
        title.lines.last() = elided(text.mid(lastStart).simplified(), font, width, sheet);
    return title;
}

struct Layout {
    qreal points = 0;
    qreal numberRight = 0; // where the numbers end
    qreal titleLeft = 0;   // and the titles begin
    qreal lengthWidth = 0; // the lengths' column at the right
    qreal lineHeight = 0;
    qreal songGap = 0;
    QList<Title> titles;
    QList<qsizetype> pageStarts{0}; // the first song of each page
    qsizetype lines = 0;            // of titles, as drawn
    qsizetype cut = 0;              // titles cut short
};

Layout layOut(const Sheet& sheet, const Order& order, qreal points) {
    const QList<Song>& songs = order.songs;
    Layout l;
    l.points = points;
    const QFont titleFont = FontFaces::font(kTitleFace, points);
    const QFontMetricsF numbers = sheet.metrics(FontFaces::font(kNumberFace, points));
    for (const Song& s : songs) {
        l.numberRight = std::max(l.numberRight, numbers.horizontalAdvance(s.number));
        l.lengthWidth = std::max(l.lengthWidth, numbers.horizontalAdvance(s.length));
    }
    l.titleLeft = l.numberRight + sheet.px(points * 0.6);
    const qreal lengthRoom = l.lengthWidth > 0 ? l.lengthWidth + sheet.px(points * 0.6) : 0;
    l.lineHeight = sheet.metrics(titleFont).lineSpacing();
    l.songGap = sheet.px(points * 0.04);
    // However the margins were set, a title keeps room for a few letters.
    const qreal titleWidth =
        std::max(sheet.width() - l.titleLeft - lengthRoom, sheet.px(points * 4));
    const qreal body = sheet.height() - sheet.headerHeight();
    qreal y = 0;
    for (qsizetype i = 0; i < songs.size(); ++i) {
        Title title = wrap(songs[i].title, titleFont, titleWidth, sheet);
        const qreal height = title.lines.size() * l.lineHeight;
        if (y > 0 && y + height > body) {
            l.pageStarts << i;
            y = 0;
        }
        y += height + l.songGap;
        l.lines += title.lines.size();
        l.cut += title.cut ? 1 : 0;
        l.titles << std::move(title);
    }
    // The total takes a title's line after the last song, on a page of its own if need be.
    if (!order.total.isEmpty() && y > 0 && y + l.lineHeight > body) l.pageStarts << songs.size();
    return l;
}

// The largest size with no more pages than the floor and no more of what `crowding` counts.
template <typename Crowding>
Layout largest(const Sheet& sheet, const Order& order, const Layout& floor, Crowding crowding) {
    for (qreal points = kLargest; points > floor.points; points -= kStep) {
        Layout l = layOut(sheet, order, points);
        if (l.pageStarts.size() <= floor.pageStarts.size() && crowding(l) <= crowding(floor))
            return l;
    }
    return floor;
}

// As few pages as the smallest allowed size gives, in the largest type that breaks no title
// only to grow. Titles stay whole while the type stays readable from two metres; below that
// the type wins and a long title is cut short.
Layout bestLayout(const Sheet& sheet, const Order& order) {
    const qreal smallest = order.songs.size() <= kShortList ? kShortListSmallest : kSmallest;
    const Layout floor = layOut(sheet, order, smallest);
    Layout whole = largest(sheet, order, floor, [](const Layout& l) { return l.lines + l.cut; });
    if (whole.points >= kShortListSmallest) return whole;
    return largest(sheet, order, floor, [](const Layout& l) { return l.lines; });
}

// The name on the left, the date and page on the right, a rule under both.
void drawHeader(QPainter& p, const Sheet& sheet, const QString& name, const QString& detail) {
    const QFont nameFont = FontFaces::font(kTitleFace, kNamePoints);
    const QFont detailFont = FontFaces::font(kNumberFace, kDetailPoints);
    const QFontMetricsF nameMetrics = sheet.metrics(nameFont);
    const qreal detailWidth = sheet.metrics(detailFont).horizontalAdvance(detail);
    const qreal baseline = nameMetrics.ascent();
    p.setFont(detailFont);
    p.drawText(QPointF(sheet.width() - detailWidth, baseline), detail);
    p.setFont(nameFont);
    p.drawText(QPointF(0, baseline),
               nameMetrics.elidedText(name, Qt::ElideRight,
                                      sheet.width() - detailWidth - sheet.px(kDetailPoints)));
    p.fillRect(QRectF(0, nameMetrics.height() + sheet.px(4), sheet.width(), sheet.px(1)),
               Qt::black);
}

void drawSongs(QPainter& p, const Sheet& sheet, const Layout& l, const Order& order,
               qsizetype page) {
    const QList<Song>& songs = order.songs;
    const QFont titleFont = FontFaces::font(kTitleFace, l.points);
    const QFont numberFont = FontFaces::font(kNumberFace, l.points);
    const QFontMetricsF numbers = sheet.metrics(numberFont);
    const qsizetype end = page + 1 < l.pageStarts.size() ? l.pageStarts[page + 1] : songs.size();
    qreal y = sheet.headerHeight() + sheet.metrics(titleFont).ascent();
    if (songs.isEmpty()) {
        p.setFont(numberFont);
        p.drawText(QPointF(0, y), QStringLiteral("No songs"));
    }
    for (qsizetype i = l.pageStarts[page]; i < end; ++i) {
        p.setFont(numberFont);
        p.drawText(QPointF(l.numberRight - numbers.horizontalAdvance(songs[i].number), y),
                   songs[i].number);
        p.drawText(QPointF(sheet.width() - numbers.horizontalAdvance(songs[i].length), y),
                   songs[i].length);
        p.setFont(titleFont);
        for (const QString& line : l.titles[i].lines) {
            p.drawText(QPointF(l.titleLeft, y), line);
            y += l.lineHeight;
        }
        y += l.songGap;
    }
    if (page + 1 == l.pageStarts.size() && !order.total.isEmpty()) {
        p.setFont(FontFaces::font(kNumberFace, std::min(l.points, kNamePoints)));
        p.drawText(QPointF(0, y), order.total);
    }
}

Order orderOf(const ManagedObject* setlist, bool sessions) {
    Order order;
    double total = 0;
    int known = 0, unknown = 0;
    for (const ManagedObject* s : setlist->orderedObjects("song")) {
        const std::optional<double> seconds =
            SessionCheck::lengthOf(s->stringValue("path"), sessions);
        seconds ? void((total += *seconds, ++known)) : void(++unknown);
        order.songs << Song{RunningOrderDocument::songNumber(s), s->stringValue("title"),
                            seconds ? SessionCheck::length(*seconds) : QString()};
    }
    // Logic projects say nothing of their lengths: no total to plan with.
    if (known > 0) order.total = SongLengths::total(total, unknown);
    return order;
}

QString detail(const ManagedObject* setlist, qsizetype page, qsizetype pages) {
    const QVariant created = setlist->value("dateCreated");
    QStringList parts;
    if (created.isValid())
        parts << QLocale().toString(created.toDateTime().toLocalTime().date(), QLocale::LongFormat);
    if (pages > 1) parts << QStringLiteral("page %1 of %2").arg(page + 1).arg(pages);
    return parts.join(QStringLiteral("  ·  "));
}
} // namespace

RunningOrderDocument::RunningOrderDocument(QList<ManagedObject*> setlists, bool sessions)
    : setlists_(std::move(setlists)), sessions_(sessions) {}

QString RunningOrderDocument::songNumber(const ManagedObject* song) {
    const QVariant n = song->value("midiIn");
    return n.isValid() ? n.toString() : QStringLiteral("-");
}

bool RunningOrderDocument::print(QPagedPaintDevice& device) const {
    if (setlists_.isEmpty()) return false;
    QPainter painter;
    if (!painter.begin(&device)) return false;
    const Sheet sheet(device);
    bool first = true;
    for (const ManagedObject* setlist : setlists_) {
        const Order order = orderOf(setlist, sessions_);
        const Layout layout = bestLayout(sheet, order);
        const qsizetype pages = layout.pageStarts.size();
        for (qsizetype page = 0; page < pages; ++page) {
            if (!first && !device.newPage()) return false;
            first = false;
            drawHeader(painter, sheet, setlist->stringValue("name"), detail(setlist, page, pages));
            drawSongs(painter, sheet, layout, order, page);
        }
    }
    return painter.end();
}

bool RunningOrderDocument::saveAsPdf(const QString& path, QString* whyNot) const {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *whyNot = file.errorString();
        return false;
    }
    {
        QPdfWriter pdf(&file);
        pdf.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                      QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter));
        pdf.setCreator(QStringLiteral("Gigmora"));
        pdf.setTitle(setlists_.size() == 1
                         ? QStringLiteral("Running order: ") + setlists_[0]->stringValue("name")
                         : QStringLiteral("Running orders"));
        if (!print(pdf)) {
            *whyNot = QStringLiteral("the running order could not be laid out");
            return false; // the file is discarded unwritten
        }
    }
    if (!file.commit()) {
        *whyNot = file.errorString();
        return false;
    }
    return true;
}
