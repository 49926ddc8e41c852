#pragma once

#include "CPlotAxes.h"

// A bar meter in dB with a peak hold. A normal meter rises from the bottom
// (levels); an inverted one hangs from the top (gain reduction, whose rest
// is 0 dB). Values are clamped to an upper and a lower limit; the hold
// keeps the highest (inverted: lowest) value until reset, with no decay.
// The bar is coloured by zones: low below the lower threshold, middle up to
// the upper one, high above. The label offset shifts the printed scale
// (a K-scale reads 0 at its reference level). A click resets the meter.
class CVUMeter : public CPlotAxes
{
public:
    CVUMeter(const CRect& size, float axisMin, float axisMax);

    // Clamps the value, stores it and moves the hold.
    void setValue(float dB) override;
    float getPeakHold() const { return peakHold; }

    // Bar back to rest, hold cleared.
    virtual void reset();
    virtual void setInverted(bool on);
    // Shows the hold line (and its value) and fades the ticks next to it.
    virtual void setShowPeakHold(bool on);
    virtual void setUpperZone(float dB);
    virtual void setLowerZone(float dB);
    virtual void setLowZoneColour(const CColor& colour);
    virtual void setHighZoneColour(const CColor& colour);
    virtual void setLabelOffset(float dB);
    virtual void setUpperClamp(float dB);
    virtual void setLowerClamp(float dB);

    bool isInverted() const { return inverted; }
    float getUpperZone() const { return upperZone; }
    float getLowerZone() const { return lowerZone; }
    float getLabelOffset() const { return labelOffset; }
    float getUpperClamp() const { return upperClamp; }
    float getLowerClamp() const { return lowerClamp; }

protected:
    void draw(CDrawContext& context) override;
    bool onMouseDown(const CMouseEvent& event) override;

private:
    void drawTicks(CDrawContext& context, double holdRow) const;
    void drawBar(CDrawContext& context) const;
    void drawPeakHold(CDrawContext& context, double holdRow) const;
    void fillBetween(CDrawContext& context, float fromDB, float toDB, const CColor& colour) const;

    float peakHold;
    bool inverted;
    bool showPeakHold;
    float upperClamp;
    float lowerClamp;
    float upperZone;
    float lowerZone;
    float labelOffset;
    CColor lowZoneColour;
    CColor highZoneColour;
};
