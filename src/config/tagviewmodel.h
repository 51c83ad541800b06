#pragma once

#include <QObject>
#include <QString>

// A word of the library's tag cloud with how many scenes carry it.
class CTagViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(float score READ score WRITE setScore NOTIFY scoreChanged)
    Q_PROPERTY(bool selected READ selected WRITE setSelected NOTIFY selectedChanged)

public:
    explicit CTagViewModel(QObject* parent = nullptr) : QObject(parent) {}
    CTagViewModel(const QString& name, float score, QObject* parent = nullptr)
        : QObject(parent), m_name(name), m_score(score)
    {
    }

    const QString& name() const { return m_name; }
    float score() const { return m_score; }
    bool selected() const { return m_selected; }
    void setName(const QString& name);
    void setScore(float score);
    void setSelected(bool selected);

Q_SIGNALS:
    void nameChanged();
    void scoreChanged();
    void selectedChanged();

private:
    QString m_name;
    float m_score = 0.0f;
    bool m_selected = false;
};
