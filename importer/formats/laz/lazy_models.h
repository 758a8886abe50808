// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "importer/formats/laz/arithmetic_decoder.h"

namespace orvix::importer::laz {

/// `Count` models of `Symbols` symbols each, made when first asked for: of the 256 models of a
/// point's class, a scan uses a handful.
template <std::uint32_t Symbols, std::size_t Count>
class LazyModels {
public:
    SymbolModel<Symbols>& operator[](std::size_t index) {
        std::unique_ptr<SymbolModel<Symbols>>& model = models_[index];
        if (!model) [[unlikely]]
            model = std::make_unique<SymbolModel<Symbols>>();
        return *model;
    }

private:
    std::array<std::unique_ptr<SymbolModel<Symbols>>, Count> models_;
};

}  // namespace orvix::importer::laz
