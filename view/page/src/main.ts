// SPDX-License-Identifier: GPL-3.0-or-later
import { Api, ApiError } from "./api/client";
import { showNotice } from "./notice";
import "./styles/view.css";
import { openViewer } from "./viewer";
import { openWorkbench } from "./workbench";

const noPoints = "This project holds no points, so there is nothing to show.";

async function start(): Promise<void> {
  const api = new Api();
  const project = await api.project();
  document.title = `${project.name} - Orvix`;
  const viewer = openViewer(api, project, document.getElementById("view")!);
  const { trouble } = openWorkbench(viewer, document.getElementById("panels")!);
  if (project.points === 0) showNotice(noPoints);
  api.stayAlive(() =>
    trouble(
      "The program that serves this page has ended. What is shown stays; start it again to go on.",
    ),
  );
}

start().catch((error: unknown) => {
  showNotice(error instanceof ApiError ? error.message : `The page cannot start: ${String(error)}`);
});
