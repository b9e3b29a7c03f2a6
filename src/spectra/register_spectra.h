// The script names of spectra: Spectra_Type, the table Spectra and the
// spectrum drivers.
#ifndef SKELDA_SPECTRA_REGISTER_SPECTRA_H
#define SKELDA_SPECTRA_REGISTER_SPECTRA_H

#include <lua.hpp>

void LuaRegisterSpectra(lua_State* L);

#endif
