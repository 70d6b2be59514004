#pragma once

#include <QString>
#include <QVariant>
#include <memory>

class ManagedObject;

// The predicate language the library needs: comparisons (==, =, !=, <, <=, >, >=,
// contains, beginswith, with [c], [d] or [cd]) of a key against %@, $variable, nil, a quoted
// string or a number; AND, OR, NOT and parentheses. Keys are evaluated with value(key), so an
// unknown key throws UnknownKeyError.
class Predicate {
public:
    Predicate() = default; // matches everything
    // Throws std::invalid_argument on a malformed format.
    static Predicate withFormat(const QString& format, const QVariantList& arguments = {});
    Predicate withSubstitutionVariables(const QVariantMap& variables) const;

    bool isNull() const { return !root_; }
    bool evaluate(const ManagedObject& object) const;
    const QString& predicateFormat() const { return format_; }

    struct Node;

private:
    std::shared_ptr<const Node> root_;
    QString format_;
};

// Folds case and strips diacritics, as [cd] compares.
QString foldForSearch(const QString& text);
