import { defineConfig } from "vite";

export default defineConfig({
  // Addresses are relative: the page stands under a token that is known only when the server runs.
  base: "./",
  build: {
    target: "es2022",
    // The page's rules for content allow no data: addresses.
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    chunkSizeWarningLimit: 1500,
  },
});
