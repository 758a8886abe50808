// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/picture_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvix::output {

namespace {

using detail::Cross, detail::Length, detail::Vector, detail::operator/;

constexpr double kLevel = 0.99;

}  // namespace

void ViewBounds::Add(double x, double y) {
    left = std::min(left, x);
    right = std::max(right, x);
    bottom = std::min(bottom, y);
    top = std::max(top, y);
}

ViewBounds ViewBounds::Widened(double share, double min) const {
    const double margin = share * std::max(Width(), Height());
    const double dx = std::max(margin, (min - Width()) / 2);
    const double dy = std::max(margin, (min - Height()) / 2);
    return {left - dx, right + dx, bottom - dy, top + dy};
}

PictureView PictureView::Plan() {
    return {};
}

PictureView PictureView::Facing(Vector normal) {
    PictureView view;
    if (std::fabs(normal.z) > kLevel) return view;
    view.toward_ = normal;
    const Vector level = Cross({0, 0, 1}, normal);
    view.right_ = level / Length(level);
    view.up_ = Cross(normal, view.right_);
    return view;
}

PictureView PictureView::Along(const Vector& right, const Vector& up) {
    PictureView view;
    view.right_ = right;
    view.up_ = up;
    view.toward_ = Cross(right, up);
    return view;
}

void PictureView::Fit(const ViewBounds& bounds, const PixelRect& panel) {
    panel_ = panel;
    scale_ = std::min(panel.width / bounds.Width(), panel.height / bounds.Height());
    centreX_ = (bounds.left + bounds.right) / 2;
    centreY_ = (bounds.bottom + bounds.top) / 2;
}

Pixel2 PictureView::PlaceAt(double x, double y) const {
    return {panel_.left + panel_.width / 2 + (x - centreX_) * scale_,
            panel_.top + panel_.height / 2 - (y - centreY_) * scale_};
}

ViewBounds PictureView::Shown() const {
    const double dx = panel_.width / scale_ / 2, dy = panel_.height / scale_ / 2;
    return {centreX_ - dx, centreX_ + dx, centreY_ - dy, centreY_ + dy};
}

std::string PictureView::NameOf(const Vector& d) {
    if (std::fabs(d.z) > 0.5) return std::fabs(d.z) > 0.95 ? "z" : "up the slope";
    if (std::fabs(d.x) > 0.999) return d.x > 0 ? "x" : "-x";
    if (std::fabs(d.y) > 0.999) return d.y > 0 ? "y" : "-y";
    const double bearing = std::atan2(d.x, d.y) * 180 / std::numbers::pi;
    return fmt::format("bearing {:.0f}", bearing < -0.5 ? bearing + 360 : bearing);
}

double RoundLength(double max) {
    const double power = std::pow(10.0, std::floor(std::log10(max)));
    for (const double step : {5.0, 2.0})
        if (step * power <= max) return step * power;
    return power;
}

std::string LengthText(double metres) {
    if (metres >= 1000) return fmt::format("{:g} km", metres / 1000);
    if (metres >= 1) return fmt::format("{:g} m", metres);
    if (metres >= 0.0999) return fmt::format("{:.0f} cm", metres * 100);
    return fmt::format("{:.2g} mm", metres * 1000);
}

}  // namespace orvix::output
