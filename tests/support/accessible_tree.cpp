#include "tests/support/accessible_tree.h"

#include <QStringList>

namespace support {

namespace {

QString labelOf(const QAccessibleInterface &interface)
{
    for (const auto &relation : interface.relations(QAccessible::Label))
        return relation.first->text(QAccessible::Name);
    return {};
}

void append(QAccessibleInterface &interface, std::vector<AccessibleNode> &tree)
{
    if (interface.state().invisible)
        return;
    AccessibleNode node;
    if (interface.object() != nullptr)
        node.objectName = interface.object()->objectName();
    node.role = interface.role();
    node.name = interface.text(QAccessible::Name);
    node.label = labelOf(interface);
    node.description = interface.text(QAccessible::Description);
    node.state = interface.state();
    tree.push_back(node);
    for (int i = 0; i < interface.childCount(); ++i) {
        if (QAccessibleInterface *child = interface.child(i))
            append(*child, tree);
    }
}

} // namespace

std::vector<AccessibleNode> accessibleTree(QObject &root)
{
    std::vector<AccessibleNode> tree;
    if (QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&root))
        append(*interface, tree);
    return tree;
}

AccessibleNode nodeOf(const std::vector<AccessibleNode> &tree, const char *objectName)
{
    for (const AccessibleNode &node : tree) {
        if (node.objectName == QLatin1String(objectName))
            return node;
    }
    return {};
}

QStringList namesOf(const std::vector<AccessibleNode> &tree, QAccessible::Role role)
{
    QStringList names;
    for (const AccessibleNode &node : tree) {
        if (node.role == role)
            names.append(node.name);
    }
    return names;
}

} // namespace support
