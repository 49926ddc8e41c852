#include "CVUMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
// Height of the scale and hold labels, in pixels.
const int labelHeight = 9;
// Distance in pixels over which ticks fade out next to the hold line.
const double fadeDistance = 25.0;
const CFontDesc labelFont = {"DejaVu Sans", 8.0, false};
}

CVUMeter::CVUMeter(const CRect& size, float axisMin, float axisMax)
    : CPlotAxes(size, axisMin, axisMax),
      peakHold(axisMin),
      inverted(false),
      showPeakHold(false),
      upperClamp(160.0f),
      lowerClamp(-160.0f),
      upperZone(axisMax),
      lowerZone(axisMin),
      labelOffset(0.0f),
      lowZoneColour{0, 255, 0, 100},
      highZoneColour{255, 0, 0, 100}
{
    setRange(axisMin, axisMax, 10.0f);
    setAxisLabels(true);
    reset();
}

void CVUMeter::setValue(float dB)
{
    // Written so that NaN lands on a clamp too.
    if (!(dB < upperClamp))
    {
        dB = upperClamp;
    }
    if (!(dB > lowerClamp))
    {
        dB = lowerClamp;
    }
    if (dB == getValue())
    {
        return;
    }
    CPlotAxes::setValue(dB);
    peakHold = inverted ? std::min(peakHold, dB) : std::max(peakHold, dB);
    setDirty();
}

void CVUMeter::reset()
{
    if (inverted)
    {
        CPlotAxes::setValue(upperClamp);
        peakHold = getAxisMax() - 0.00000001f;
    }
    else
    {
        CPlotAxes::setValue(lowerClamp);
        peakHold = getAxisMin() + 0.00000001f;
    }
    setDirty();
}

void CVUMeter::setInverted(bool on)
{
    setDrawn(inverted, on);
    reset();
}

void CVUMeter::setShowPeakHold(bool on)
{
    setDrawn(showPeakHold, on);
    reset();
}

void CVUMeter::setUpperZone(float dB)
{
    setDrawn(upperZone, dB);
}

void CVUMeter::setLowerZone(float dB)
{
    setDrawn(lowerZone, dB);
}

void CVUMeter::setLowZoneColour(const CColor& colour)
{
    lowZoneColour = colour;
    setDirty();
}

void CVUMeter::setHighZoneColour(const CColor& colour)
{
    highZoneColour = colour;
    setDirty();
}

void CVUMeter::setLabelOffset(float dB)
{
    setDrawn(labelOffset, dB);
}

void CVUMeter::setUpperClamp(float dB)
{
    setDrawn(upperClamp, dB);
    reset();
}

void CVUMeter::setLowerClamp(float dB)
{
    setDrawn(lowerClamp, dB);
}

bool CVUMeter::onMouseDown(const CMouseEvent& event)
{
    if (event.button != 1 || !isHit(event))
    {
        return false;
    }
    reset();
    return true;
}

void CVUMeter::draw(CDrawContext& context)
{
    const int height = getViewSize().height();
    const double holdRow = std::clamp(std::floor(valueToRow(peakHold)), 0.0, static_cast<double>(height - 1));
    drawTicks(context, holdRow);
    drawBar(context);
    drawPeakHold(context, holdRow);
}

void CVUMeter::drawTicks(CDrawContext& context, double holdRow) const
{
    const float step = getScaleStep();
    if (step <= 0.0f)
    {
        return;
    }
    const int width = getViewSize().width();
    const double fadeCentre = inverted ? holdRow + 9.0 : holdRow;
    for (float t = step * std::round((getAxisMin() + labelOffset) / step); t <= getAxisMax() + labelOffset;
         t += step)
    {
        const double row = std::floor(valueToRow(t - labelOffset));
        double fade = 1.0;
        if (showPeakHold)
        {
            const double d = std::fabs(row - fadeCentre);
            if (d <= fadeDistance)
            {
                fade = (d / fadeDistance) * (d / fadeDistance);
            }
        }
        CColor grid = gridColour;
        grid.alpha = static_cast<uint8_t>(grid.alpha * fade);
        context.drawHorizontalLine(0.0, width, row, grid);
        if (getAxisLabels())
        {
            char label[16];
            std::snprintf(label, sizeof label, "%+2.1f", t);
            CColor text = markerColour;
            text.alpha = static_cast<uint8_t>(170 * fade);
            const int bottom = static_cast<int>(row) - 1;
            context.drawString(label, {0, bottom - labelHeight + 1, width - 1, bottom + 1}, labelFont, text,
                               CDrawContext::Align::right);
        }
    }
}

void CVUMeter::fillBetween(CDrawContext& context, float fromDB, float toDB, const CColor& colour) const
{
    const double a = valueToRow(fromDB);
    const double b = valueToRow(toDB);
    const double height = getViewSize().height();
    const double top = std::clamp(std::min(a, b), 0.0, height);
    const double bottom = std::clamp(std::max(a, b), 0.0, height);
    context.fillRect(0.0, std::round(top), getViewSize().width(), std::round(bottom), colour);
}

void CVUMeter::drawBar(CDrawContext& context) const
{
    const float v = getValue();
    const float axisMin = getAxisMin();
    const float axisMax = getAxisMax();
    if (!inverted)
    {
        if (std::min(v, lowerZone) > axisMin)
        {
            fillBetween(context, axisMin, std::min(v, lowerZone), lowZoneColour);
        }
        if (v > lowerZone && lowerZone < upperZone)
        {
            fillBetween(context, lowerZone, std::min(v, upperZone), middleZoneColour);
        }
        if (v > upperZone)
        {
            fillBetween(context, upperZone, std::min(v, axisMax), highZoneColour);
        }
        return;
    }
    if (!(v < axisMax))
    {
        return;
    }
    if (upperZone < axisMax)
    {
        fillBetween(context, axisMax, std::max(v, upperZone), highZoneColour);
    }
    if (v < upperZone && upperZone > lowerZone)
    {
        fillBetween(context, upperZone, std::max(v, lowerZone), middleZoneColour);
    }
    if (v < lowerZone)
    {
        fillBetween(context, lowerZone, std::max(v, axisMin), lowZoneColour);
    }
}

void CVUMeter::drawPeakHold(CDrawContext& context, double holdRow) const
{
    if (!showPeakHold)
    {
        return;
    }
    const int width = getViewSize().width();
    const int height = getViewSize().height();
    context.drawHorizontalLine(0.0, width - 1, holdRow, markerColour);
    if (!getAxisLabels())
    {
        return;
    }
    char label[16];
    std::snprintf(label, sizeof label, "%+2.1f", peakHold + labelOffset);
    const int row = static_cast<int>(holdRow);
    const bool roomAbove = row >= labelHeight + 1;
    const bool roomBelow = row + labelHeight + 1 <= height - 1;
    const bool above = inverted ? !roomBelow : roomAbove;
    const CRect box = above ? CRect{0, row - 10, width - 1, row} : CRect{0, row + 1, width - 1, row + 11};
    context.drawString(label, box, labelFont, markerColour, CDrawContext::Align::right);
}
