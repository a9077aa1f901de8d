#pragma once
// Serves pages on 127.0.0.1:65005 in place of the daemon, and collects what the pages report
// back with GET /report?v=TEXT. Loopback only; a Host other than this port's is refused.

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTcpServer>

namespace brisko::testing {

class PageServer : public QObject {
    Q_OBJECT
  public:
    static constexpr quint16 kPort = 65005;

    explicit PageServer(QObject* parent = nullptr);
    bool listenOnLoopback();

    void setPage(const QString& path, const QByteArray& html);
    int hits(const QString& path) const { return m_hits.value(path); }
    QStringList reports() const { return m_reports; }
    void clearReports() { m_reports.clear(); }

  signals:
    void reported(const QString& text);

  private:
    void serve(QTcpSocket* socket);
    QByteArray respond(const QByteArray& request);

    QTcpServer m_server;
    QHash<QString, QByteArray> m_pages;
    QHash<QString, int> m_hits;
    QStringList m_reports;
};

} // namespace brisko::testing
