// Pictures as Encapsulated PostScript text: a picture is a growing heap
// string; each call appends one item (text, a stroked path, a filled
// polygon, a colour image) in the units of the bounding box.  Colours are
// 0xRRGGBB values.
#ifndef SKELDA_CRYSTAL_POSTSCRIPT_H
#define SKELDA_CRYSTAL_POSTSCRIPT_H

#include <lua.hpp>

#include <cstdint>

// A new picture of width by height points in *buffer (malloc'ed), with the
// prolog that defines the drawing operators.  0 or 1.
int CreatePS(char** buffer, int width, int height);
// Appends the trailer.
int ClosePS(char** buffer);
// Text at (x, y) of the given size, aligned "l", "r" or "c"; in the Symbol
// font for AddGreekTextPS.  Another alignment writes a warning text into the
// picture.
int AddTextPS(char** buffer, const char* text, double x, double y, double size, char align);
int AddGreekTextPS(char** buffer, const char* text, double x, double y, double size, char align);
// A stroked path through n points.
int AddLinePathPS(char** buffer, const double* x, const double* y, unsigned int n, unsigned int colour, double width);
// A closed polygon filled with a pale form of the colour and outlined in it.
int AddPolygonPS(char** buffer, const double* x, const double* y, unsigned int n, unsigned int colour, double width);
// An nx by ny colour image (pixels row by row) in the box from (x, y) of
// size dx by dy.
int AddBitmapPS(char** buffer, double x, double y, double dx, double dy, const unsigned int* pixels, unsigned int nx,
                unsigned int ny);

// The table PostScript (Open, Close, Text, Line, Polygon, Bitmap) and the
// globals PlotBands, PlotDOS, PlotFermi and PlotBandsAndDOS.
void LuaRegisterPostScript(lua_State* L);

#endif
