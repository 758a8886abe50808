// SPDX-License-Identifier: GPL-3.0-or-later
// Prints the name of each element of an IFC file that has a shape, and the area of its triangles.
const fs = require("fs");
const ifc = require("web-ifc");

async function main() {
  const api = new ifc.IfcAPI();
  await api.Init();
  const model = api.OpenModel(new Uint8Array(fs.readFileSync(process.argv[2])));
  if (api.GetModelSchema(model) !== "IFC4") throw new Error("not IFC4");
  api.StreamAllMeshes(model, (mesh) => {
    let area = 0;
    for (let i = 0; i < mesh.geometries.size(); ++i) {
      const geometry = api.GetGeometry(model, mesh.geometries.get(i).geometryExpressID);
      const corners = api.GetVertexArray(geometry.GetVertexData(), geometry.GetVertexDataSize());
      const triangles = api.GetIndexArray(geometry.GetIndexData(), geometry.GetIndexDataSize());
      const at = (k) => corners.subarray(6 * triangles[k], 6 * triangles[k] + 3);
      for (let k = 0; k < triangles.length; k += 3) {
        const [a, b, c] = [at(k), at(k + 1), at(k + 2)];
        const u = [0, 1, 2].map((i) => b[i] - a[i]), v = [0, 1, 2].map((i) => c[i] - a[i]);
        area += Math.hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                           u[0] * v[1] - u[1] * v[0]) / 2;
      }
    }
    console.log(api.GetLine(model, mesh.expressID).Name.value, area);
  });
}

main().catch((error) => {
  console.error(String(error));
  process.exit(1);
});
