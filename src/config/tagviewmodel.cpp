#include "config/tagviewmodel.h"

#include "config/notifyingsetter.h"

void CTagViewModel::setName(const QString& name)
{
    SetAndNotify(m_name, name, this, &CTagViewModel::nameChanged);
}

void CTagViewModel::setScore(float score)
{
    SetAndNotify(m_score, score, this, &CTagViewModel::scoreChanged);
}

void CTagViewModel::setSelected(bool selected)
{
    SetAndNotify(m_selected, selected, this, &CTagViewModel::selectedChanged);
}
