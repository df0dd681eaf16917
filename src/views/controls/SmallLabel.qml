TextLabel {
    color: Theme.secondary
    font.pixelSize: Theme.smallSize
}
