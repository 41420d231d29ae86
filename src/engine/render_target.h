#pragma once

#include <irrlicht/irrlicht.h>

// Drawing into textures. While one is bound, screen coordinates, texture rows and depth run as in Direct3D on
// every driver: row 0 is the top row, depth goes from 0 to 1.

// Null when the driver can do all that the renderer asks for, otherwise what is missing, in words.
const char* qbTargetMissing();

// Binds a texture made by addRenderTargetTexture; textures of equal size share one depth buffer. `clear`:
// fills it with `color` (the depth stays).
void qbTargetSet(irr::video::ITexture* texture, bool clear, irr::video::SColor color = 0);
// Binds several at once and clears them and their depth.
void qbTargetSetMany(const irr::core::array<irr::video::IRenderTarget>& targets, irr::video::SColor color);
// Back to the window.
void qbTargetSetWindow();

// Limits drawing (on OpenGL) to pixels [left, right) x [top, bottom) of the bound texture.
void qbTargetScissor(const irr::core::recti& pixels);
void qbTargetScissorOff();

// While `behind`, what is drawn lands a few of the smallest steps of the depth buffer farther away: a pass
// that draws the same vertices again later then never loses against it by a rounding. Vertices that a program
// itself moves back do lose: they are clipped to other depths. Binding a target ends it.
void qbTargetDepthBehind(bool behind);

// Waits until the driver has done all that it was told.
void qbTargetFinish();

// Texels of a target, rows from the top, 4 floats each (red, green, blue, alpha; channels that the format
// lacks read 0, 0, 0, 1): width * height * 4 floats go to `rgba`. Between beginScene and endScene or not;
// leaves the window bound. For tests and pictures: it waits for the driver.
void qbTargetRead(irr::video::ITexture* texture, float* rgba);
