// Starts the language server of the host, and runs scripts in a terminal.
"use strict";

const vscode = require("vscode");
const { LanguageClient } = require("vscode-languageclient/node");

let client;

function program() {
  return vscode.workspace.getConfiguration("tavscript").get("tavhost");
}

// Quoted for the shells of terminals; names of files may hold blanks.
function quoted(text) {
  return `"${text.replace(/(["$`\\])/g, process.platform === "win32" ? "$1" : "\\$1")}"`;
}

async function runScript() {
  const editor = vscode.window.activeTextEditor;
  if (!editor || editor.document.isUntitled || !(await editor.document.save())) {
    vscode.window.showInformationMessage("Save the script to run it.");
    return;
  }
  const name = "TavScript";
  const terminal =
    vscode.window.terminals.find((t) => t.name === name) || vscode.window.createTerminal(name);
  terminal.show();
  terminal.sendText(`${quoted(program())} run ${quoted(editor.document.fileName)}`);
}

function activate(context) {
  context.subscriptions.push(vscode.commands.registerCommand("tavscript.run", runScript));
  const server = { command: program(), args: ["lsp"] };
  client = new LanguageClient("tavscript", "TavScript", server, {
    documentSelector: [{ language: "tavscript" }],
  });
  client.start().catch((error) => {
    vscode.window.showWarningMessage(
      `${program()} could not be started: ${error.message}. The setting tavscript.tavhost names it.`);
  });
}

function deactivate() {
  return client ? client.stop() : undefined;
}

module.exports = { activate, deactivate };
