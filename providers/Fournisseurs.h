#pragma once

/// The library's door: which data access providers a program has.
namespace tamlo::providers {

/// Makes every data access provider that this build holds known to connections. Called before the first connection is opened; once is enough.
void EnregistreFournisseurs();

}  // namespace tamlo::providers
