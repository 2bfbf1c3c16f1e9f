#pragma once

#include "ui/ui_mainwindow.h"
#include "util/spinlock.h"

#include <QMainWindow>

#include <atomic>
#include <vector>

/// The preview done in the obvious way, as a peer to measure against: a full decode in the callback
/// to test the frame, another in every paint, both under the lock, and the whole window repainted.
class PlainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit PlainWindow(int rotationCode);

    int receive(const void *jpeg, int size, int width, int height);
    int painted() const { return m_painted; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Ui_MainWindow m_ui;
    int m_rotationCode;
    std::atomic<int> m_pending{0};
    SpinLock m_lock;
    std::vector<char> m_frame;
    int m_width = 0;
    int m_height = 0;
    int m_painted = 0;
};
