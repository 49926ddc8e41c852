#include "MasterPlot.h"

#include "HostError.h"
#include "MasterSession.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>

namespace
{
constexpr double left = 70.0;
constexpr double right = 20.0;
constexpr double top = 56.0;
constexpr double gap = 36.0;

struct Panel
{
    double x, y, w, h;
    double lowest, highest; // of the values drawn

    double yOf(double value) const
    {
        const double clamped = std::clamp(value, lowest, highest);
        return y + h * (highest - clamped) / (highest - lowest);
    }
};

std::string figure(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

void text(cairo_t* cr, double x, double y, const std::string& words, double size = 12.0)
{
    cairo_set_font_size(cr, size);
    cairo_move_to(cr, x, y);
    cairo_show_text(cr, words.c_str());
}

// Frame, title, value grid every `step` and time grid.
void drawFrame(cairo_t* cr, const Panel& panel, const std::string& title, double step, const char* unit, double seconds)
{
    cairo_set_source_rgb(cr, 0.12, 0.12, 0.14);
    cairo_rectangle(cr, panel.x, panel.y, panel.w, panel.h);
    cairo_fill(cr);
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgb(cr, 0.85, 0.85, 0.85);
    text(cr, panel.x, panel.y - 8, title, 13.0);
    for (double value = std::ceil(panel.lowest / step) * step; value <= panel.highest + 1e-9; value += step)
    {
        cairo_set_source_rgba(cr, 1, 1, 1, 0.12);
        cairo_move_to(cr, panel.x, std::round(panel.yOf(value)) + 0.5);
        cairo_line_to(cr, panel.x + panel.w, std::round(panel.yOf(value)) + 0.5);
        cairo_stroke(cr);
        cairo_set_source_rgb(cr, 0.7, 0.7, 0.7);
        text(cr, 8, panel.yOf(value) + 4, figure("%.0f ", value) + unit, 11.0);
    }
    const double tick = seconds > 1200 ? 300 : seconds > 300 ? 60 : seconds > 60 ? 10 : seconds > 10 ? 2 : 0.5;
    for (double t = 0.0; t <= seconds; t += tick)
    {
        const double x = std::round(panel.x + panel.w * t / seconds) + 0.5;
        cairo_set_source_rgba(cr, 1, 1, 1, 0.08);
        cairo_move_to(cr, x, panel.y);
        cairo_line_to(cr, x, panel.y + panel.h);
        cairo_stroke(cr);
        cairo_set_source_rgb(cr, 0.7, 0.7, 0.7);
        text(cr, x - 12, panel.y + panel.h + 13, seconds > 120 ? figure("%.0f min", t / 60.0) : figure("%.1f s", t),
             10.0);
    }
}

// The largest of `values` per pixel column, as a curve or filled from the top.
void drawSeries(cairo_t* cr, const Panel& panel, const std::vector<float>& values, double firstSecond,
                double stepSeconds, double seconds, const std::function<double(float)>& toUnits, bool fromTop)
{
    const int columns = static_cast<int>(panel.w);
    // Columns no value falls in (fewer values than pixels) are bridged;
    // columns of silence (-inf) break the curve.
    std::vector<double> column(static_cast<size_t>(columns), NAN);
    for (size_t i = 0; i < values.size(); ++i)
    {
        const double t = firstSecond + static_cast<double>(i) * stepSeconds;
        const size_t c = static_cast<size_t>(std::clamp(static_cast<int>(t / seconds * columns), 0, columns - 1));
        if (!std::isnan(values[i]))
        {
            column[c] = std::isnan(column[c]) ? toUnits(values[i]) : std::max(column[c], toUnits(values[i]));
        }
    }
    bool drawing = false;
    for (int c = 0; c < columns; ++c)
    {
        const double value = column[static_cast<size_t>(c)];
        if (std::isnan(value))
        {
            continue;
        }
        if (std::isinf(value))
        {
            drawing = false;
            continue;
        }
        const double x = panel.x + c + 0.5;
        if (fromTop)
        {
            cairo_move_to(cr, x, panel.y);
            cairo_line_to(cr, x, panel.yOf(value));
            continue;
        }
        drawing ? cairo_line_to(cr, x, panel.yOf(value)) : cairo_move_to(cr, x, panel.yOf(value));
        drawing = true;
    }
    cairo_stroke(cr);
}

void drawLevel(cairo_t* cr, const Panel& panel, double value, const std::string& label)
{
    cairo_set_source_rgb(cr, 0.95, 0.3, 0.25);
    const double dashes[] = {6.0, 4.0};
    cairo_set_dash(cr, dashes, 2, 0.0);
    cairo_move_to(cr, panel.x, panel.yOf(value));
    cairo_line_to(cr, panel.x + panel.w, panel.yOf(value));
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0.0);
    text(cr, panel.x + panel.w - 190, panel.yOf(value) - 5, label, 11.0);
}
}

void MasterPlot::draw(const MasteredFile& file, const MasterTargets& targets, const std::string& path)
{
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 0.07, 0.07, 0.08);
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);

    const double seconds = std::max(file.output.seconds(), 0.1);
    const double panelWidth = width - left - right;
    const double usable = height - top - 3 * gap;
    const Panel envelope{left, top, panelWidth, usable * 0.45, -48.0, 0.0};
    const Panel reduction{left, top + envelope.h + gap, panelWidth, usable * 0.2, -12.0, 0.0};
    const Panel loudness{left,          reduction.y + reduction.h + gap, panelWidth,
                         usable * 0.35, targets.loudnessLufs - 24.0,     targets.loudnessLufs + 6.0};
    cairo_set_source_rgb(cr, 0.95, 0.95, 0.95);
    text(cr, left, 22,
         std::filesystem::path(file.outputPath).filename().string() + "   "
             + figure("%.2f LUFS", file.output.integratedLufs())
             + figure(", true peak %.2f dBTP", file.output.truePeakDbtp()),
         15.0);

    const auto decibels = [](float linear) { return MasterMeasurement::decibels(linear); };
    const double window = MasterMeasurement::windowSeconds;
    const double hop = MasterMeasurement::hopSeconds;
    drawFrame(cr, envelope,
              "peak envelopes: input (grey), output (blue); red: first render's true peak over the target", 6.0, "dB",
              seconds);
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgb(cr, 0.55, 0.55, 0.58);
    drawSeries(cr, envelope, file.input.peakPerWindow, 0.0, window, seconds, decibels, false);
    cairo_set_source_rgb(cr, 0.35, 0.65, 1.0);
    drawSeries(cr, envelope, file.output.peakPerWindow, 0.0, window, seconds, decibels, false);
    std::vector<float> overs;
    for (float peak : file.firstTruePeakPerHop)
    {
        overs.push_back(decibels(peak) > targets.truePeakDbtp ? 1.0f : NAN);
    }
    cairo_set_source_rgba(cr, 1.0, 0.2, 0.2, 0.8);
    cairo_set_line_width(cr, 2.0);
    drawSeries(
        cr, Panel{envelope.x, envelope.y, envelope.w, 8.0, 0.0, 1.0}, overs, 0.0, hop, seconds,
        [](float) { return 0.0; }, true);
    cairo_set_line_width(cr, 1.0);
    drawLevel(cr, envelope, targets.truePeakDbtp, figure("true-peak target %.1f dBTP", targets.truePeakDbtp));

    drawFrame(cr, reduction, "gain reduction (per 10 ms)", 3.0, "dB", seconds);
    cairo_set_source_rgb(cr, 1.0, 0.75, 0.2);
    drawSeries(
        cr, reduction, file.reductionDb, 0.0, window, seconds, [](float r) { return -r; }, true);

    drawFrame(cr, loudness, "short-term loudness (3 s)", 6.0, "LUFS", seconds);
    cairo_set_source_rgb(cr, 0.4, 0.9, 0.5);
    cairo_set_line_width(cr, 1.5);
    drawSeries(
        cr, loudness, file.output.shortTermLufs(), 3.0 - hop, hop, seconds, [](float l) { return l; }, false);
    cairo_set_line_width(cr, 1.0);
    drawLevel(cr, loudness, targets.loudnessLufs, figure("loudness target %.1f LUFS", targets.loudnessLufs));

    cairo_destroy(cr);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
    {
        throw HostError("cannot write the plot '" + path + "'");
    }
}
