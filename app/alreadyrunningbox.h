#pragma once

#include <QMessageBox>

/// Says that the program is already running. Its size is fixed, and it is a little above the middle
/// of the primary screen.
class AlreadyRunningBox : public QMessageBox
{
public:
    AlreadyRunningBox();

protected:
    bool event(QEvent *event) override;
};
