#include "tests/ui/widget_tree.h"

#include <QLayout>
#include <QWidget>

namespace support {

namespace {

bool isPlaced(const QWidget &widget)
{
    const QWidget *parent = widget.parentWidget();
    return parent != nullptr && parent->layout() == nullptr && !widget.isWindow();
}

QString described(const QWidget &widget)
{
    QString text = QStringLiteral("%1 %2").arg(QLatin1String(widget.metaObject()->className()),
                                               widget.objectName());
    if (isPlaced(widget))
        text += QStringLiteral(" (%1,%2 %3x%4)")
                    .arg(widget.x())
                    .arg(widget.y())
                    .arg(widget.width())
                    .arg(widget.height());
    return text;
}

/// Toolkits name their own parts "qt_..." or not at all.
bool isOurs(const QObject &object)
{
    return !object.objectName().isEmpty() && !object.objectName().startsWith(QLatin1String("qt_"));
}

void append(const QWidget &widget, int depth, QString &text)
{
    for (const QObject *child : widget.children()) {
        const auto *below = qobject_cast<const QWidget *>(child);
        if (below == nullptr || !isOurs(*child))
            continue;
        text += QString(2 * depth, QLatin1Char(' ')) + described(*below) + QLatin1Char('\n');
        append(*below, depth + 1, text);
    }
}

} // namespace

QString namedTree(const QWidget &root)
{
    QString text;
    append(root, 0, text);
    return text;
}

} // namespace support
