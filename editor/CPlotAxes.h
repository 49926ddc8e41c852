#pragma once

#include "CControl.h"

// Base of the plots: a vertical axis in dB from a minimum (bottom row) to a
// maximum (top row) with a scale step, its colours and option flags.
class CPlotAxes : public CControl
{
public:
    CPlotAxes(const CRect& size, float axisMin, float axisMax);

    // step: distance of the scale ticks (0: none).
    virtual void setRange(float minimum, float maximum, float step);
    // With axis labels on, each tick prints its value.
    virtual void setAxisLabels(bool on);

    float getAxisMin() const { return axisMin; }
    float getAxisMax() const { return axisMax; }
    float getScaleStep() const { return scaleStep; }
    bool getAxisLabels() const { return axisLabels; }

    // The pixel row of a value: the minimum at the bottom edge, the maximum
    // at the top edge, linear between, not limited to the plot.
    double valueToRow(float dB) const;

protected:
    CColor gridColour;
    CColor markerColour;
    CColor middleZoneColour;

private:
    float axisMin;
    float axisMax;
    float scaleStep;
    bool axisLabels;
};
