// Prints what a fresh process takes for its current locale:
// "identifier language isLanguageArabic isDateLanguageArabic".
#include <cstdio>

#include "tarvo/platform/Locale.h"

int main() {
    const tarvo::Locale current = tarvo::Locale::currentLocale();
    std::printf("%s %s %d %d\n", current.identifier().c_str(), current.languageCode().c_str(),
                tarvo::Locale::isLanguageArabic() ? 1 : 0, tarvo::Locale::isDateLanguageArabic() ? 1 : 0);
    return 0;
}
