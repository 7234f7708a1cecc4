#include "bench/TmxGenerator.h"

#include <string>

namespace {

class Random {
 public:
  explicit Random(uint64_t seed) : m_state(seed * 6364136223846793005ull + 1442695040888963407ull) {}
  uint32_t Next() {
    m_state = m_state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<uint32_t>(m_state >> 33);
  }
  uint32_t Below(uint32_t n) { return Next() % n; }

 private:
  uint64_t m_state;
};

const char* const kWords[] = {"photo", "album", "share", "delete", "storage", "cloud", "backup", "friend",
                              "camera", "filter", "export", "settings", "account", "memory", "light",
                              "Bild", "Speicher", "Freund", "Kamera", "reise", "été", "souvenir", "日本語"};
const char* const kLanguages[] = {"en-US", "de-DE", "fr-FR", "ja-JP", "es-ES"};

std::string Sentence(Random& random, int nWords) {
  std::string text;
  for (int i = 0; i < nWords; i++) {
    if (i) text += ' ';
    text += kWords[random.Below(sizeof kWords / sizeof *kWords)];
  }
  return text;
}

}  // namespace

void WriteSyntheticTmx(std::ostream& out, long nUnits, uint64_t seed) {
  Random random(seed);
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tmx version=\"1.4\">\n"
         "<header creationtool=\"quillon-bench\" segtype=\"sentence\" o-tmf=\"none\" adminlang=\"en-US\""
         " srclang=\"en-US\" datatype=\"plaintext\"/>\n<body>\n";
  for (long unit = 0; unit < nUnits; unit++) {
    if (random.Below(50) == 0) out << "<!-- batch " << unit << " -->\n";
    out << "<tu tuid=\"u" << unit << "\">";
    if (random.Below(4) == 0) out << "<note>" << Sentence(random, 4) << "</note>";
    const uint32_t nVariants = 2 + random.Below(3);
    for (uint32_t v = 0; v < nVariants; v++) {
      out << (random.Below(2) ? "<tuv xml:lang=\"" : "<tuv lang=\"") << kLanguages[v] << "\">";
      if (random.Below(8) == 0) out << "<note>" << Sentence(random, 3) << "</note>";
      out << "<seg>";
      // Codes as translation tools write them, their native markup escaped: a unit in four.
      if (unit % 4 == 0) out << "<bpt i=\"1\">&lt;b&gt;</bpt>" << Sentence(random, 1) << "<ept i=\"1\">&lt;/b&gt;</ept> ";
      out << Sentence(random, 3 + static_cast<int>(random.Below(8)));
      if (random.Below(5) == 0) out << " <ph x=\"1\">{" << Sentence(random, 1) << "}</ph> " << Sentence(random, 2);
      out << "</seg></tuv>";
    }
    out << "</tu>\n";
  }
  out << "</body>\n</tmx>\n";
}
