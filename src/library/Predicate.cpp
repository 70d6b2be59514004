#include "library/Predicate.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "platform/NumberValue.h"

#include <QDateTime>
#include <algorithm>
#include <stdexcept>
#include <vector>

struct Predicate::Node {
    enum class Kind { And, Or, Not, Compare } kind = Kind::Compare;
    enum class Op { Eq, Ne, Lt, Le, Gt, Ge, Contains, BeginsWith } op = Op::Eq;
    bool caseless = false, diacriticless = false;
    std::vector<std::shared_ptr<const Node>> children;
    QString key;
    QVariant value;   // constant, or invalid for nil
    QString variable; // $name still to substitute
};

namespace {
bool isAscii(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}
} // namespace

QString foldForSearch(const QString& text) {
    // Plain ASCII has nothing to decompose, and folding it is lowering.
    if (isAscii(text)) return text.toLower();
    QString d = text.normalized(QString::NormalizationForm_D);
    QString out;
    out.reserve(d.size());
    for (QChar c : d)
        if (c.category() != QChar::Mark_NonSpacing) out.append(c);
    return out.toCaseFolded();
}

namespace {
using Node = Predicate::Node;
using NodePtr = std::shared_ptr<const Node>;

class Parser {
public:
    Parser(const QString& s, const QVariantList& args) : s_(s), args_(args) {}
    NodePtr parse() {
        NodePtr n = orExpr();
        skip();
        if (pos_ != s_.size()) fail("unexpected text");
        return n;
    }

private:
    [[noreturn]] void fail(const char* what) {
        throw std::invalid_argument(QStringLiteral("Unable to parse the format string \"%1\": %2")
                                        .arg(s_, what)
                                        .toStdString());
    }
    void skip() {
        while (pos_ < s_.size() && s_[pos_].isSpace())
            ++pos_;
    }
    bool word(const char* w) {
        skip();
        const QString ws = QString::fromLatin1(w);
        if (QStringView(s_).mid(pos_).startsWith(ws, Qt::CaseInsensitive)) {
            qsizetype end = pos_ + ws.size();
            if (end == s_.size() || !(s_[end].isLetterOrNumber() || s_[end] == '_')) {
                pos_ = end;
                return true;
            }
        }
        return false;
    }
    bool symbol(const char* sym) {
        skip();
        const QString ss = QString::fromLatin1(sym);
        if (QStringView(s_).mid(pos_).startsWith(ss)) {
            pos_ += ss.size();
            return true;
        }
        return false;
    }
    NodePtr combine(Node::Kind kind, NodePtr a, NodePtr b) {
        auto n = std::make_shared<Node>();
        n->kind = kind;
        n->children = {std::move(a), std::move(b)};
        return n;
    }
    NodePtr orExpr() {
        NodePtr n = andExpr();
        while (word("OR") || symbol("||"))
            n = combine(Node::Kind::Or, n, andExpr());
        return n;
    }
    NodePtr andExpr() {
        NodePtr n = unary();
        while (word("AND") || symbol("&&"))
            n = combine(Node::Kind::And, n, unary());
        return n;
    }
    NodePtr unary() {
        if (word("NOT") || symbol("!")) {
            auto n = std::make_shared<Node>();
            n->kind = Node::Kind::Not;
            n->children = {unary()};
            return n;
        }
        if (symbol("(")) {
            NodePtr n = orExpr();
            if (!symbol(")")) fail("missing )");
            return n;
        }
        return comparison();
    }
    QString identifier() {
        skip();
        qsizetype start = pos_;
        while (pos_ < s_.size() &&
               (s_[pos_].isLetterOrNumber() || s_[pos_] == '_' || s_[pos_] == '.'))
            ++pos_;
        if (start == pos_) fail("expected a key");
        return s_.mid(start, pos_ - start);
    }
    NodePtr comparison() {
        auto n = std::make_shared<Node>();
        n->key = identifier();
        if (symbol("==") || symbol("="))
            n->op = Node::Op::Eq;
        else if (symbol("!=") || symbol("<>"))
            n->op = Node::Op::Ne;
        else if (symbol("<="))
            n->op = Node::Op::Le;
        else if (symbol(">="))
            n->op = Node::Op::Ge;
        else if (symbol("<"))
            n->op = Node::Op::Lt;
        else if (symbol(">"))
            n->op = Node::Op::Gt;
        else if (word("contains"))
            n->op = Node::Op::Contains;
        else if (word("beginswith"))
            n->op = Node::Op::BeginsWith;
        else
            fail("expected an operator");
        if (symbol("[")) {
            while (pos_ < s_.size() && s_[pos_] != ']') {
                const QChar c = s_[pos_++].toLower();
                n->caseless |= c == 'c';
                n->diacriticless |= c == 'd';
            }
            if (!symbol("]")) fail("missing ]");
        }
        operand(*n);
        return n;
    }
    void operand(Node& n) {
        skip();
        if (symbol("%@")) {
            if (argIndex_ < args_.size()) n.value = args_[argIndex_];
            ++argIndex_; // a missing argument reads as nil
            return;
        }
        if (symbol("$")) {
            n.variable = identifier();
            return;
        }
        if (word("nil") || word("NULL")) return;
        if (pos_ < s_.size() && (s_[pos_] == '\'' || s_[pos_] == '"')) {
            const QChar q = s_[pos_++];
            qsizetype start = pos_;
            while (pos_ < s_.size() && s_[pos_] != q)
                ++pos_;
            if (pos_ >= s_.size()) fail("unterminated string");
            n.value = s_.mid(start, pos_ - start);
            ++pos_;
            return;
        }
        qsizetype start = pos_;
        while (pos_ < s_.size() && (s_[pos_].isDigit() || s_[pos_] == '-' || s_[pos_] == '.'))
            ++pos_;
        bool ok = false;
        const QString num = s_.mid(start, pos_ - start);
        if (num.contains('.'))
            n.value = num.toDouble(&ok);
        else
            n.value = num.toLongLong(&ok);
        if (!ok) fail("expected a value");
    }

    const QString& s_;
    const QVariantList& args_;
    qsizetype pos_ = 0;
    qsizetype argIndex_ = 0;
};

bool isNumber(const QVariant& v) {
    return isNumberValue(v);
}

// -1, 0, 1; absent values only equal absent ones and order before everything.
int compareValues(const QVariant& a, const QVariant& b) {
    const bool an = !a.isValid() || a.isNull(), bn = !b.isValid() || b.isNull();
    if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
    if (isNumber(a) && isNumber(b)) {
        const double x = a.toDouble(), y = b.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a.typeId() == QMetaType::QDateTime && b.typeId() == QMetaType::QDateTime)
        return a.toDateTime() < b.toDateTime() ? -1 : (b.toDateTime() < a.toDateTime() ? 1 : 0);
    if (a.typeId() == QMetaType::QString && b.typeId() == QMetaType::QString)
        return std::clamp(a.toString().compare(b.toString()), -1, 1);
    if (a.canConvert<ManagedObject*>() && b.canConvert<ManagedObject*>())
        return a.value<ManagedObject*>() == b.value<ManagedObject*>() ? 0 : 1;
    return a == b ? 0 : 1;
}

bool evaluateNode(const Node& n, const ManagedObject& o) {
    switch (n.kind) {
    case Node::Kind::And:
        return evaluateNode(*n.children[0], o) && evaluateNode(*n.children[1], o);
    case Node::Kind::Or:
        return evaluateNode(*n.children[0], o) || evaluateNode(*n.children[1], o);
    case Node::Kind::Not:
        return !evaluateNode(*n.children[0], o);
    case Node::Kind::Compare:
        break;
    }
    // Attributes are read in place; only relationships need the general lookup.
    const int attribute = o.entity().attributeIndex(n.key);
    const QVariant fetched = attribute < 0 ? o.value(n.key) : QVariant();
    const QVariant& left = attribute < 0 ? fetched : o.attributeAt(attribute);
    const QVariant& right = n.value;
    if (n.op == Node::Op::Contains || n.op == Node::Op::BeginsWith ||
        ((n.caseless || n.diacriticless) && left.typeId() == QMetaType::QString)) {
        if (left.typeId() != QMetaType::QString || !right.isValid()) return false;
        const QString& l0 = *static_cast<const QString*>(left.constData());
        QString l = l0, r = right.toString();
        if ((n.caseless || n.diacriticless) && isAscii(l) && isAscii(r)) {
            // Plain ASCII needs no folding: compare in place, without new strings.
            switch (n.op) {
            case Node::Op::Contains:
                return l.contains(r, Qt::CaseInsensitive);
            case Node::Op::BeginsWith:
                return l.startsWith(r, Qt::CaseInsensitive);
            case Node::Op::Eq:
                return l.compare(r, Qt::CaseInsensitive) == 0;
            case Node::Op::Ne:
                return l.compare(r, Qt::CaseInsensitive) != 0;
            default:
                break;
            }
        }
        if (n.diacriticless) {
            l = foldForSearch(l);
            r = foldForSearch(r);
        } else if (n.caseless) {
            l = l.toCaseFolded();
            r = r.toCaseFolded();
        }
        switch (n.op) {
        case Node::Op::Contains:
            return l.contains(r);
        case Node::Op::BeginsWith:
            return l.startsWith(r);
        case Node::Op::Eq:
            return l == r;
        case Node::Op::Ne:
            return l != r;
        default:
            break;
        }
    }
    const int c = compareValues(left, right);
    const bool comparable = left.isValid() && !left.isNull() && right.isValid() && !right.isNull();
    switch (n.op) {
    case Node::Op::Eq:
        return c == 0;
    case Node::Op::Ne:
        return c != 0;
    case Node::Op::Lt:
        return comparable && c < 0;
    case Node::Op::Le:
        return comparable && c <= 0;
    case Node::Op::Gt:
        return comparable && c > 0;
    case Node::Op::Ge:
        return comparable && c >= 0;
    default:
        return false;
    }
}

NodePtr substitute(const NodePtr& n, const QVariantMap& vars) {
    auto copy = std::make_shared<Node>(*n);
    for (auto& c : copy->children)
        c = substitute(c, vars);
    if (!copy->variable.isEmpty()) {
        copy->value = vars.value(copy->variable);
        copy->variable.clear();
    }
    return copy;
}
} // namespace

Predicate Predicate::withFormat(const QString& format, const QVariantList& arguments) {
    Predicate p;
    p.root_ = Parser(format, arguments).parse();
    p.format_ = format;
    return p;
}

Predicate Predicate::withSubstitutionVariables(const QVariantMap& variables) const {
    Predicate p;
    p.format_ = format_;
    if (root_) p.root_ = substitute(root_, variables);
    return p;
}

bool Predicate::evaluate(const ManagedObject& object) const {
    return !root_ || evaluateNode(*root_, object);
}
