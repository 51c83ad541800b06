#pragma once

#include "ports/port.h"

#include <map>
#include <memory>

class CPortInt : public CPort
{
public:
    CPortInt(std::string_view name, std::string_view desc, int value, int min, int max);
    CPortInt(const CPortInt& other);

    // Names a choice: the number is the value, the name is what a user reads.
    void AddValue(int value, const char* name);

    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    int m_value;
    int m_min;
    int m_max;
    std::unique_ptr<std::map<int, std::string>> m_names;

private:
    // The number of a choice named `text`, ignoring case, first in number order.
    bool FindName(const std::string& text, long& value) const;
};

// Float to int by truncation, without undefined behaviour for NaN or values
// beyond the int range.
int TruncateToInt(double value);
