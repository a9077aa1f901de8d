#pragma once
// A private Xvfb for capture tests, so no other test's windows appear in the frames and a
// test may take the server away. Xvfb picks a free display number and prints it.

#include <QFile>
#include <QProcess>
#include <QString>

class PrivateXvfb {
  public:
    PrivateXvfb(const QString& screen, bool shm) {
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp", "-ac",
                                shm ? "+extension" : "-extension", "MIT-SHM"});
        while (!m_server.canReadLine() && m_server.waitForReadyRead(10000)) {
        }
        if (m_server.canReadLine()) m_display = ":" + QString::fromLatin1(m_server.readLine()).trimmed();
    }
    ~PrivateXvfb() {
        m_server.terminate();
        m_server.waitForFinished();
    }

    QString display() const { return m_display; }
    // Takes the server away at once, as a crash would, then clears what it leaves behind.
    void kill() {
        m_server.kill();
        m_server.waitForFinished();
        QFile::remove(QStringLiteral("/tmp/.X%1-lock").arg(m_display.mid(1)));
        QFile::remove(QStringLiteral("/tmp/.X11-unix/X%1").arg(m_display.mid(1)));
    }

  private:
    QProcess m_server;
    QString m_display;
};
