// SPDX-License-Identifier: GPL-3.0-or-later
#include "localization/text_table.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>

#include "localization/text_ids.h"

namespace orvix::localization {
namespace {

struct Row {
    unsigned int id;
    /// In the order of Language.
    std::array<const wchar_t*, 4> texts;
};

// clang-format off
constexpr Row kRows[] = {
    {kProjectFileReadOnly,
     {L"A file of the point cloud project is read-only or in use. Check that you may write to the "
      L"project file and its project folder, then open the project again.",
      L"Eine Datei des Punktwolkenprojekts ist schreibgeschützt oder in Gebrauch. Prüfen Sie, ob "
      L"Sie in die Projektdatei und den Projektordner schreiben dürfen, und öffnen Sie das Projekt "
      L"erneut.",
      L"Un fichier du projet de nuage de points est en lecture seule ou en cours d’utilisation. "
      L"Vérifiez que vous pouvez écrire dans le fichier de projet et dans son dossier, puis rouvrez "
      L"le projet.",
      L"Un archivo del proyecto de nube de puntos es de solo lectura o está en uso. Compruebe que "
      L"puede escribir en el archivo de proyecto y en su carpeta y vuelva a abrir el proyecto."}},
    {kProjectFileMissing,
     {L"A required file of the point cloud project is missing. Restore the project folder beside "
      L"the project file, or import the scans again.",
      L"Eine erforderliche Datei des Punktwolkenprojekts fehlt. Stellen Sie den Projektordner neben "
      L"der Projektdatei wieder her oder importieren Sie die Scans erneut.",
      L"Un fichier requis du projet de nuage de points est introuvable. Rétablissez le dossier du "
      L"projet à côté du fichier de projet ou importez de nouveau les scans.",
      L"Falta un archivo necesario del proyecto de nube de puntos. Restaure la carpeta del proyecto "
      L"junto al archivo de proyecto o vuelva a importar los escaneos."}},
    {kPlaneParamsTitle,
     {L"Plane Search Settings", L"Einstellungen der Ebenensuche",
      L"Paramètres de recherche de plans", L"Parámetros de búsqueda de planos"}},
    {kSelectData,
     {L"Select data", L"Daten auswählen", L"Sélectionner les données", L"Seleccionar datos"}},
    {kFullCloud,
     {L"Full cloud", L"Vollständige Punktwolke", L"Nuage complet", L"Nube completa"}},
    {kThinnedCloud,
     {L"Thinned cloud", L"Ausgedünnte Punktwolke", L"Nuage allégé", L"Nube reducida"}},
    {kSplitSize,
     {L"Cell size", L"Zellengröße", L"Taille des cellules", L"Tamaño de celda"}},
    {kMetres, {L"Metres", L"Meter", L"Mètres", L"Metros"}},
    {kDecimetres, {L"Decimetres", L"Dezimeter", L"Décimètres", L"Decímetros"}},
    {kCentimetres, {L"Centimetres", L"Zentimeter", L"Centimètres", L"Centímetros"}},
    {kAngularTolerance,
     {L"Angular tolerance", L"Winkeltoleranz", L"Tolérance angulaire", L"Tolerancia angular"}},
    {kSpeed, {L"Speed", L"Geschwindigkeit", L"Vitesse", L"Velocidad"}},
    {kSpeedExact, {L"Exact", L"Genau", L"Précis", L"Exacta"}},
    {kSpeedBalanced, {L"Balanced", L"Ausgewogen", L"Équilibré", L"Equilibrada"}},
    {kSpeedFast, {L"Fast", L"Schnell", L"Rapide", L"Rápida"}},
    {kDefault, {L"Default", L"Standard", L"Par défaut", L"Predeterminado"}},
    {kView, {L"View", L"Ansicht", L"Afficher", L"Ver"}},
    {kOk, {L"OK", L"OK", L"OK", L"Aceptar"}},
    {kCancel, {L"Cancel", L"Abbrechen", L"Annuler", L"Cancelar"}},
    {kSearching,
     {L"Searching for the plane …", L"Ebene wird gesucht …", L"Recherche du plan …",
      L"Buscando el plano …"}},
    {kStepDown, {L"One step down", L"Einen Schritt verringern", L"Diminuer d’un pas", L"Reducir un paso"}},
    {kStepUp, {L"One step up", L"Einen Schritt erhöhen", L"Augmenter d’un pas", L"Aumentar un paso"}},
    {kThinnedTo1cm,
     {L"Thinned to 1 cm", L"Auf 1 cm ausgedünnt", L"Allégé à 1 cm", L"Reducida a 1 cm"}},
    {kThinnedTo10cm,
     {L"Thinned to 10 cm", L"Auf 10 cm ausgedünnt", L"Allégé à 10 cm", L"Reducida a 10 cm"}},
    {kThinnedTo1m,
     {L"Thinned to 1 m", L"Auf 1 m ausgedünnt", L"Allégé à 1 m", L"Reducida a 1 m"}},
    {kThinnedOtherwise,
     {L"Thinned to another step", L"Mit anderer Schrittweite ausgedünnt", L"Allégé à un autre pas",
      L"Reducida con otro paso"}},
};
// clang-format on

static_assert(std::ranges::adjacent_find(kRows, std::ranges::greater_equal(), &Row::id) ==
                  std::ranges::end(kRows),
              "rows are found by bisection: ascending numbers, each once");

}  // namespace

Language LanguageOf(int identifier) {
    constexpr unsigned int kPrimaryLanguage = 0x3FF;  // BEHAVIOUR O6
    switch (static_cast<unsigned int>(identifier) & kPrimaryLanguage) {
        case 0x07:
            return Language::German;
        case 0x0C:
            return Language::French;
        case 0x0A:
            return Language::Spanish;
        default:
            return Language::English;
    }
}

const wchar_t* FindText(unsigned int id, Language language) {
    const Row* const row = std::ranges::lower_bound(kRows, id, {}, &Row::id);
    if (row == std::end(kRows) || row->id != id) return nullptr;
    return row->texts[static_cast<unsigned int>(language)];
}

unsigned int TextCount() {
    return static_cast<unsigned int>(std::size(kRows));
}
unsigned int TextIdAt(unsigned int index) {
    return kRows[index].id;
}

}  // namespace orvix::localization
