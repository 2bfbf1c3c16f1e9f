#include "app/window/previewrole.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QFrame>

namespace {

bool isPreviewArea(const QObject &object)
{
    return object.objectName() == QLatin1String("frame") && object.parent() != nullptr
        && object.parent()->objectName() == QLatin1String("centralWidget");
}

/// Asked by Qt for every class of an object, from the most derived one on.
QAccessibleInterface *pictureInterface(const QString &className, QObject *object)
{
    if (className != QLatin1String("QFrame") || !isPreviewArea(*object))
        return nullptr;
    return new QAccessibleWidget(qobject_cast<QWidget *>(object), QAccessible::Graphic);
}

} // namespace

void presentPreviewAsPicture()
{
    QAccessible::installFactory(pictureInterface); // a second time is not counted
}
