#include "CPlotAxes.h"

CPlotAxes::CPlotAxes(const CRect& size, float axisMin, float axisMax)
    : CControl(size, nullptr, -1),
      gridColour{100, 120, 20, 255},
      markerColour{194, 250, 5, 255},
      middleZoneColour{194, 250, 5, 96},
      axisMin(axisMin),
      axisMax(axisMax),
      scaleStep(10.0f),
      axisLabels(true)
{
}

void CPlotAxes::setRange(float minimum, float maximum, float step)
{
    if (minimum != axisMin || maximum != axisMax || step != scaleStep)
    {
        axisMin = minimum;
        axisMax = maximum;
        scaleStep = step;
        setDirty();
    }
}

void CPlotAxes::setAxisLabels(bool on)
{
    setDrawn(axisLabels, on);
}

double CPlotAxes::valueToRow(float dB) const
{
    const double height = getViewSize().height();
    if (axisMax == axisMin)
    {
        return height;
    }
    const double top = axisMax;
    const double bottom = axisMin;
    return (top - dB) / (top - bottom) * height;
}
