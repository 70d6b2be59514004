#include "platform/TableDropTarget.h"

#include "platform/DragActions.h"
#include "platform/DraggingInfo.h"
#include "platform/Guard.h"
#include "platform/Pasteboard.h"
#include "platform/TableView.h"

#include <QDropEvent>
#include <QPainter>

TableDropTarget::TableDropTarget(TableView& table) : table_(table) {}

TableDropTarget::~TableDropTarget() = default;

void TableDropTarget::registerForDraggedTypes(const QStringList& types) {
    for (const QString& t : types)
        if (!types_.contains(t)) types_ << t;
    table_.setAcceptDrops(!types_.isEmpty());
    table_.viewport()->setAcceptDrops(!types_.isEmpty());
}

bool TableDropTarget::acceptsPayloadData(const QMimeData* data) const {
    for (const QString& type : types_)
        if (!data->data(Pasteboard::mimeFormat(type)).isEmpty()) return true;
    return false;
}

bool TableDropTarget::acceptsPayload(const QMimeData* data) const {
    const Pasteboard pasteboard(data);
    for (const QString& type : types_)
        if (pasteboard.hasType(type)) return true;
    return false;
}

bool TableDropTarget::propose(QDropEvent* event, bool validate) {
    TableViewDelegate* delegate = table_.delegate();
    if (!delegate || !acceptsPayload(event->mimeData())) return false;
    const QPoint at = event->position().toPoint();
    const qsizetype count = table_.numberOfRows();
    qsizetype row = table_.rowAt(at.y());
    DropOperation operation = DropOperation::Above;
    if (row < 0) {
        row = count; // below the last row
    } else {
        const QRect r = table_.rectOfRow(row);
        const int edge = r.height() / 4;
        if (at.y() >= r.bottom() - edge)
            ++row;
        else if (at.y() >= r.top() + edge)
            operation = DropOperation::On;
    }
    setDropRow(row, operation);
    if (!validate) return true;
    auto* source = qobject_cast<TableView*>(event->source());
    DraggingInfo info(event->mimeData(), source, at,
                      DragActions::maskFor(event->possibleActions()));
    uint32_t result = DragOperationNone;
    guarded("validateDrop",
            [&] { result = delegate->validateDrop(&table_, info, row_, operation_); });
    if (result == DragOperationNone) return false;
    event->setDropAction(DragActions::actionFor(result));
    return true;
}

void TableDropTarget::hideIndicator() {
    if (!shown_) return;
    shown_ = false;
    table_.viewport()->update();
}

void TableDropTarget::dragEnter(QDragEnterEvent* event) {
    if (acceptsPayload(event->mimeData()))
        event->accept();
    else
        event->ignore();
}

void TableDropTarget::dragMove(QDragMoveEvent* event) {
    shown_ = propose(event, true);
    if (shown_) {
        event->accept();
        keepPayload(event->mimeData());
    } else {
        event->ignore();
    }
    table_.viewport()->update();
}

void TableDropTarget::dragLeave() {
    hideIndicator();
}

void TableDropTarget::keepPayload(const QMimeData* data) {
    kept_ = std::make_unique<QMimeData>();
    for (const QString& type : types_) {
        const QString format = Pasteboard::mimeFormat(type);
        if (data->hasFormat(format)) kept_->setData(format, data->data(format));
    }
}

void TableDropTarget::drop(QDropEvent* event) {
    hideIndicator();
    // Some senders no longer hand over their data when the drop comes (seen with X11 drags):
    // the drop then reads what the drag offered while it moved over the table.
    const std::unique_ptr<QMimeData> kept = std::move(kept_);
    const QMimeData* data = event->mimeData();
    if (kept && !acceptsPayloadData(data)) data = kept.get();
    QDropEvent dropped(event->position(), event->possibleActions(), data, event->buttons(),
                       event->modifiers());
    if (!propose(&dropped, true)) {
        event->ignore();
        return;
    }
    auto* source = qobject_cast<TableView*>(event->source());
    DraggingInfo info(data, source, event->position().toPoint(),
                      DragActions::maskFor(event->possibleActions()));
    bool accepted = false;
    guarded("acceptDrop",
            [&] { accepted = table_.delegate()->acceptDrop(&table_, info, row_, operation_); });
    if (accepted) {
        event->setDropAction(dropped.dropAction());
        event->accept();
    } else {
        event->ignore();
    }
}

void TableDropTarget::paintIndicator(QPainter& painter, qsizetype count) const {
    if (!shown_) return;
    painter.setPen(QPen(table_.palette().highlight(), 2));
    if (operation_ == DropOperation::On && row_ >= 0 && row_ < count) {
        painter.drawRect(table_.rectOfRow(row_).adjusted(1, 1, -2, -2));
    } else if (operation_ == DropOperation::Above) {
        const int y = row_ < count ? table_.rectOfRow(row_).top()
                      : count > 0  ? table_.rectOfRow(count - 1).bottom() + 1
                                   : 1;
        painter.drawLine(0, y, table_.viewport()->width(), y);
    }
}
