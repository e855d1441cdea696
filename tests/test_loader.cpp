// Whole-file loader codes and the error catalogue.
#include "hilfe.h"

using Loader = Ordner;

TEST_F(Loader, CodesAndOwnership) {
    schreib_datei(pfad("zehn"), Bytes(10, 7));
    schreib_datei(pfad("leer"), Bytes{});
    Utils::RamFileLoader l, gut, c;
    EXPECT_EQ(gut.loadFile(pfad("zehn").c_str(), 10, nullptr), 0);  // exactly maxSize loads
    ASSERT_EQ(gut.getFileSize(), 10);
    EXPECT_EQ(gut.getData()[9], 7);
    EXPECT_EQ(gut.loadFile(pfad("fehlt").c_str(), 10, nullptr), E_RAM_FILE_LOADER_FILE_LOADED);
    EXPECT_EQ(l.loadFile(pfad("zehn").c_str(), 9, nullptr), E_RAM_FILE_LOADER_FILE_TOO_LONG);
    EXPECT_EQ(l.loadFile(pfad("fehlt").c_str(), 9, nullptr), E_RAM_FILE_LOADER_OPEN_FILE);
    EXPECT_EQ(l.loadFile(pfad("leer").c_str(), 9, nullptr), E_RAM_FILE_LOADER_READ_FILE);
    EXPECT_EQ(l.getFileSize(), 0);  // yet its buffer is kept: the loader counts as loaded
    EXPECT_EQ(l.loadFile(pfad("zehn").c_str(), 10, nullptr), E_RAM_FILE_LOADER_FILE_LOADED);
    std::vector<unsigned char> eigen(16);  // a caller's buffer is used, never released
    EXPECT_EQ(c.loadFile(pfad("zehn").c_str(), 16, eigen.data()), 0);
    EXPECT_TRUE(c.getData() == eigen.data() && eigen[0] == 7);
}

TEST(Fehlerkatalog, CodesMapToTextsAndNamesOnce) {
    EXPECT_STREQ(Utils::errorName(E_RAM_FILE_LOADER_FILE_TOO_LONG), "E_RAM_FILE_LOADER_FILE_TOO_LONG");
    EXPECT_STREQ(Utils::errorToString(12345), "Unbekannter Fehlercode ");
    EXPECT_EQ(Utils::errorName(12345), nullptr);
    size_t n = 0;
    const Utils::Fehlereintrag* k = Utils::fehlerkatalog(&n);
    for (size_t i = 0; i < n; ++i)
        for (size_t j = i + 1; j < n; ++j) EXPECT_NE(k[i].code, k[j].code) << k[i].name;
}
