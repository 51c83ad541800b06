#pragma once

// The one graphics interface of the engine. The scene graph needs only the
// device index from it; the drawing operations join when the renderer does.
class CRender
{
public:
    virtual ~CRender() = default;

    // Index into every per-device array and bit number in the nodes' dirty
    // masks. There is one device, so it is 0.
    int GetDeviceIndex() const { return m_deviceIndex; }

protected:
    int m_deviceIndex = 0;
};

// The bit of a device in a per-device mask.
inline unsigned DeviceBit(int deviceIndex)
{
    return 1u << (deviceIndex & 31);
}
