#include "config/tagviewmodel.h"

void CTagViewModel::setName(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    Q_EMIT nameChanged();
}

void CTagViewModel::setScore(float score)
{
    if (score == m_score)
        return;
    m_score = score;
    Q_EMIT scoreChanged();
}

void CTagViewModel::setSelected(bool selected)
{
    if (selected == m_selected)
        return;
    m_selected = selected;
    Q_EMIT selectedChanged();
}
