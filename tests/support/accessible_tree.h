#pragma once

#include <QAccessible>
#include <QObject>
#include <QString>

#include <vector>

namespace support {

/// One object as assistive technology sees it.
struct AccessibleNode
{
    QString objectName; ///< empty for parts that are no objects: items of a list, tabs
    QAccessible::Role role = QAccessible::NoRole;
    QString name;
    QString label; ///< the name of what labels it
    QString description;
    QAccessible::State state;

    bool isNamed() const { return !name.isEmpty() || !label.isEmpty(); }
};

/// What is visible of the tree below `root`, depth first, itself included.
std::vector<AccessibleNode> accessibleTree(QObject &root);

/// The first node with that object name; an empty node when there is none.
AccessibleNode nodeOf(const std::vector<AccessibleNode> &tree, const char *objectName);

/// Names of all nodes of a role, in the tree's order.
QStringList namesOf(const std::vector<AccessibleNode> &tree, QAccessible::Role role);

} // namespace support
