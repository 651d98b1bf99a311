#pragma once

// The host's Graphics, whose members changed their names and number types between host versions. Each
// function takes a Graphics, does nothing for nil, and uses the newest member that the host's version and the
// object have.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

// Shapes; all numbers in pixels.
void GraphicsClearRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height);
void GraphicsDrawRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height);
void GraphicsFillRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height);
void GraphicsDrawRoundRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height,
                                int64_t arcWidth, int64_t arcHeight);
void GraphicsFillRoundRectangle(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height,
                                int64_t arcWidth, int64_t arcHeight);
void GraphicsDrawLine(HostObject graphics, int64_t x1, int64_t y1, int64_t x2, int64_t y2);
void GraphicsDrawOval(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height);
void GraphicsFillOval(HostObject graphics, int64_t x, int64_t y, int64_t width, int64_t height);

/// Width of a text in the current font; 0 where it cannot be had.
[[nodiscard]] double GraphicsTextWidth(HostObject graphics, HostString text);

/// The drawing colour, 0x00RRGGBB; 0 where it cannot be read.
[[nodiscard]] uint32_t GraphicsForeColor(HostObject graphics);
void SetGraphicsForeColor(HostObject graphics, uint32_t color);

/// 12 where it cannot be read.
[[nodiscard]] double GraphicsFontSize(HostObject graphics);
void SetGraphicsFontSize(HostObject graphics, double size);

/// 0 where it cannot be read. From host version 2018.02 on both are one pen size.
[[nodiscard]] double GraphicsPenWidth(HostObject graphics);
[[nodiscard]] double GraphicsPenHeight(HostObject graphics);
void SetGraphicsPenWidth(HostObject graphics, double width);
void SetGraphicsPenHeight(HostObject graphics, double height);

/// Name of the font, with one reference for the caller; nil where it cannot be read.
[[nodiscard]] HostString GraphicsTextFont(HostObject graphics);
void SetGraphicsTextFont(HostObject graphics, HostString name);

}  // namespace trv
