#pragma once
// The maker's home page, fixed at build time; opened by Help > Home Page and the About link.

inline constexpr const char* HomePageAddress = KELVARA_HOME_PAGE;
