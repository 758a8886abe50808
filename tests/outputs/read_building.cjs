// SPDX-License-Identifier: GPL-3.0-or-later
// Prints each element of an IFC file that has a shape, as web-ifc reads it: a line of JSON with its
// name, its triangles' corners in the model's frame, and where the model's zero lies. Its geometry has
// single precision.
const fs = require("fs");
const ifc = require("web-ifc");

// web-ifc has y up.
function placed(m, x, y, z) {
  const at = [0, 1, 2].map((i) => m[i] * x + m[4 + i] * y + m[8 + i] * z + m[12 + i]);
  return [at[0], -at[2], at[1]];
}

async function main() {
  const api = new ifc.IfcAPI();
  await api.Init();
  api.SetLogLevel(ifc.LogLevel.LOG_LEVEL_WARN);
  const model = api.OpenModel(new Uint8Array(fs.readFileSync(process.argv[2])));
  if (api.GetModelSchema(model) !== "IFC4") throw new Error("not IFC4");
  const print = (mesh) => {
    const triangles = [];
    for (let i = 0; i < mesh.geometries.size(); ++i) {
      const part = mesh.geometries.get(i);
      const geometry = api.GetGeometry(model, part.geometryExpressID);
      const corners = api.GetVertexArray(geometry.GetVertexData(), geometry.GetVertexDataSize());
      const places = api.GetIndexArray(geometry.GetIndexData(), geometry.GetIndexDataSize());
      const m = part.flatTransformation;
      for (const k of places)
        triangles.push(placed(m, corners[6 * k], corners[6 * k + 1], corners[6 * k + 2]));
    }
    const name = api.GetLine(model, mesh.expressID).Name.value;
    console.log(JSON.stringify({ name, triangles }));
  };
  api.StreamAllMeshes(model, print);
  api.StreamAllMeshesWithTypes(model, [ifc.IFCSPACE], print);
}

main().catch((error) => {
  console.error(String(error));
  process.exit(1);
});
