#pragma once

#include <QMessageBox>

/// Says that the program runs already. Its size is fixed, and it stands a little above the middle
/// of the primary screen.
class AlreadyRunningBox : public QMessageBox
{
public:
    AlreadyRunningBox();

protected:
    bool event(QEvent *event) override;
};
