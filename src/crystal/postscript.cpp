#include "crystal/postscript.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/options.h"

int CreatePS(char** buffer, int width, int height) {
    *buffer = (char*)malloc(2024);
    if (*buffer == nullptr) return 1;
    (*buffer)[0] = '\0';
    static const char* const prolog[] = {
        "%%EndComments\n",
        "%%BeginProlog\nsave\n",
        "countdictstack\n",
        "mark\n",
        "newpath\n",
        "/setpagedevice {pop} def\n",
        "/p {newpath moveto} def\n",
        "/m {moveto} def\n",
        "/L {newpath setlinewidth setrgbcolor moveto} def\n",
        "/l {lineto} def\n",
        "/c {closepath} def\n",
        "/s {stroke} def\n",
        "/rightshow { dup stringwidth pop neg 0 rmoveto show} def\n",
        "/centershow { dup stringwidth pop -2 div 0 rmoveto show} def\n",
        "/lp {newpath moveto /Times-Roman findfont exch scalefont setfont 0 0 0 setrgbcolor show} def\n",
        "/rp {newpath moveto /Times-Roman findfont exch scalefont setfont 0 0 0 setrgbcolor rightshow} def\n",
        "/cp {newpath moveto /Times-Roman findfont exch scalefont setfont 0 0 0 setrgbcolor centershow} def\n",
        "/lgp {newpath moveto /Symbol findfont exch scalefont setfont 0 0 0 setrgbcolor show} def\n",
        "/rgp {newpath moveto /Symbol findfont exch scalefont setfont 0 0 0 setrgbcolor rightshow} def\n",
        "/cgp {newpath moveto /Symbol findfont exch scalefont setfont 0 0 0 setrgbcolor centershow} def\n",
        "%%EndProlog\n%%Page 1 1\n",
    };
    int fail = sprintfAdd(buffer, "%%!PS-Adobe-2.0 EPSF-2.0\n") == 1;
    fail |= sprintfAdd(buffer, "%%%%BoundingBox: 0 0 %5d %5d\n", width, height) == 1;
    fail |= sprintfAdd(buffer, "%%%%Creator: Skelda\n") == 1;
    for (const char* line : prolog) fail |= sprintfAdd(buffer, "%s", line) == 1;
    return fail;
}

int ClosePS(char** buffer) {
    return sprintfAdd(buffer, "showpage\n%%%%Trailer\ncleartomark\ncountdictstack\nexch sub { end } repeat\nrestore\n%%%%EOF\n") ==
           1;
}

namespace {

int Text(char** buffer, const char* text, double x, double y, double size, char align, bool greek) {
    const char* op = nullptr;
    if (align == 'l') op = greek ? "lgp" : "lp";
    if (align == 'r') op = greek ? "rgp" : "rp";
    if (align == 'c') op = greek ? "cgp" : "cp";
    if (op == nullptr)
        return sprintfAdd(buffer, "(Undefined align character \"%c\" for text \"%s\") %f %f %f lp\n", align, text, size, x,
                          y) == 1;
    return sprintfAdd(buffer, "(%s) %f %f %f %s\n", text, size, x, y, op) == 1;
}

double Component(unsigned int colour, int shift) { return ((colour >> shift) & 0xFF) / 255.0; }

}  // namespace

int AddTextPS(char** buffer, const char* text, double x, double y, double size, char align) {
    return Text(buffer, text, x, y, size, align, false);
}

int AddGreekTextPS(char** buffer, const char* text, double x, double y, double size, char align) {
    return Text(buffer, text, x, y, size, align, true);
}

int AddLinePathPS(char** buffer, const double* x, const double* y, unsigned int n, unsigned int colour, double width) {
    if (n == 0) return 0;
    int fail = sprintfAdd(buffer, "%f %f %f %f %f %f L\n", x[0], y[0], Component(colour, 16), Component(colour, 8),
                          Component(colour, 0), width) == 1;
    for (unsigned int i = 1; i < n; i++) fail |= sprintfAdd(buffer, "%f %f l\n", x[i], y[i]) == 1;
    fail |= sprintfAdd(buffer, "stroke\n") == 1;
    return fail;
}

int AddPolygonPS(char** buffer, const double* x, const double* y, unsigned int n, unsigned int colour, double width) {
    if (n == 0) return 0;
    auto pale = [&](int shift) { return (((colour >> shift) & 0xFF) + 510) / 765.0; };
    int fail = sprintfAdd(buffer, "%f %f %f %f %f %f L\n", x[0], y[0], pale(16), pale(8), pale(0), width) == 1;
    for (unsigned int i = 1; i < n; i++) fail |= sprintfAdd(buffer, "%f %f l\n", x[i], y[i]) == 1;
    fail |= sprintfAdd(buffer, "gsave\nclosepath\nfill\ngrestore\n") == 1;
    fail |= sprintfAdd(buffer, "%f %f %f setrgbcolor\n", Component(colour, 16), Component(colour, 8),
                       Component(colour, 0)) == 1;
    fail |= sprintfAdd(buffer, "%f setlinewidth\nstroke\n", width) == 1;
    return fail;
}

int AddBitmapPS(char** buffer, double x, double y, double dx, double dy, const unsigned int* pixels, unsigned int nx,
                unsigned int ny) {
    int fail = sprintfAdd(buffer, "%f %f translate\ngsave\n%f %f scale\n", x, y, x + dx, y + dy) == 1;
    fail |= sprintfAdd(buffer, "%d %d 8\n[%d 0 0 -%d 0 %d]\n", (int)nx, (int)ny, (int)nx, (int)ny, (int)ny) == 1;
    fail |= sprintfAdd(buffer, "{ currentfile %d string readhexstring pop }\nfalse\n3 colorimage\n", (int)(nx * 3 * ny)) == 1;
    for (size_t k = 0; k < (size_t)nx * ny; k++) fail |= sprintfAdd(buffer, "%06X", pixels[k] & 0xFFFFFFu) == 1;
    fail |= sprintfAdd(buffer, "\ngrestore\n") == 1;
    return fail;
}
